#include "Sandbox.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Bytes of address space that the process has now.
std::uint64_t addressSpace() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen("/proc/self/statm", "re"),
                                                               std::fclose);
    unsigned long pages = 0;
    if (!file || std::fscanf(file.get(), "%lu", &pages) != 1) {
        return 0;
    }
    return std::uint64_t{pages} * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

void limit(__rlimit_resource resource, std::uint64_t value) {
    rlimit present{};
    getrlimit(resource, &present);
    const rlim_t lower = std::min<rlim_t>(value, present.rlim_max);
    const rlimit limits{lower, lower};
    setrlimit(resource, &limits);
}

class Filter {
public:
    Filter()
        : context_(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release), isWhole_(context_ != nullptr) {}

    template <class... Conditions>
    void allow(int call, Conditions... conditions) {
        const scmp_arg_cmp all[] = {conditions..., {}};
        isWhole_ = isWhole_ && seccomp_rule_add_array(context_.get(), SCMP_ACT_ALLOW, call,
                                                      sizeof...(conditions), all) == 0;
    }

    bool install() { return isWhole_ && seccomp_load(context_.get()) == 0; }

private:
    std::unique_ptr<void, void (*)(scmp_filter_ctx)> context_;
    bool isWhole_;
};

scmp_arg_cmp argumentIs(unsigned index, std::uint64_t value) {
    return {index, SCMP_CMP_EQ, value, 0};
}

scmp_arg_cmp argumentLacks(unsigned index, std::uint64_t bits) {
    return {index, SCMP_CMP_MASKED_EQ, bits, 0};
}

} // namespace

bool confineToDecoding(std::uint64_t memory, int answerDescriptor) {
    if (!isSanitized) {
        limit(RLIMIT_AS, addressSpace() + memory);
        limit(RLIMIT_NOFILE, 0);
    }
    limit(RLIMIT_CORE, 0);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_NPROC, 0);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    Filter filter;
    for (const int call : {
             SCMP_SYS(read),
             SCMP_SYS(lseek), // the picture
             SCMP_SYS(brk),
             SCMP_SYS(munmap),
             SCMP_SYS(mremap),
             SCMP_SYS(madvise), // memory
             SCMP_SYS(futex),
             SCMP_SYS(rt_sigprocmask),
             SCMP_SYS(rt_sigreturn), // locks, signals
             SCMP_SYS(clock_gettime),
             SCMP_SYS(gettimeofday),
             SCMP_SYS(getpid),
             SCMP_SYS(gettid),
             SCMP_SYS(exit),
             SCMP_SYS(exit_group),
         }) {
        filter.allow(call);
    }
    if (isSanitized) {
        for (const int call :
             {SCMP_SYS(write), SCMP_SYS(pipe), SCMP_SYS(pipe2), SCMP_SYS(close), SCMP_SYS(sigaltstack)}) {
            filter.allow(call);
        }
    } else {
        filter.allow(SCMP_SYS(write), argumentIs(0, static_cast<std::uint64_t>(answerDescriptor)));
    }
    filter.allow(SCMP_SYS(mmap), argumentLacks(2, PROT_EXEC));
    filter.allow(SCMP_SYS(mprotect), argumentLacks(2, PROT_EXEC));
    // What abort() is made of.
    filter.allow(SCMP_SYS(tgkill), argumentIs(0, static_cast<std::uint64_t>(getpid())));
    return filter.install();
}
