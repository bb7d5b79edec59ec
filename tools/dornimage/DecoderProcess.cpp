#include "DecoderProcess.h"

#include "Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace {

[[noreturn]] void failToStart(int error) {
    throw DecoderFailure("the decoder cannot be started: " + std::generic_category().message(error));
}

// A decoder that was taken over must not find the tool's secrets; it gets what the dynamic linker and the
// sanitizers read.
std::vector<char*> environmentOfDecoder() {
    constexpr std::array<std::string_view, 4> kept = {
        "LD_LIBRARY_PATH=", "ASAN_OPTIONS=", "UBSAN_OPTIONS=", "TSAN_OPTIONS="};
    std::vector<char*> result;
    for (char** entry = environ; entry && *entry; ++entry) {
        for (const std::string_view name : kept) {
            if (std::string_view(*entry).substr(0, name.size()) == name) {
                result.push_back(*entry);
            }
        }
    }
    result.push_back(nullptr);
    return result;
}

// The same file at a number that no descriptor of the decoder has, so that moving one there can't hit
// another.
Descriptor movedAway(const Descriptor& descriptor) {
    return Descriptor(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, talkDescriptor + 1));
}

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }

    const posix_spawn_file_actions_t* setUp(int picture, int talk) {
        for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
            posix_spawn_file_actions_addopen(&actions_, standard, "/dev/null", O_RDWR, 0);
        }
        posix_spawn_file_actions_adddup2(&actions_, picture, pictureDescriptor);
        posix_spawn_file_actions_adddup2(&actions_, talk, talkDescriptor);
        posix_spawn_file_actions_addclosefrom_np(&actions_, talkDescriptor + 1);
        return &actions_;
    }

private:
    posix_spawn_file_actions_t actions_{};
};

class SpawnAttributes {
public:
    SpawnAttributes() { posix_spawnattr_init(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* setUp() {
        // A terminal sends these to all its processes. What they mean is for the tool to decide: the decoder
        // goes with it.
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
            sigaddset(&blocked, signal);
        }
        sigset_t standard;
        sigfillset(&standard);
        posix_spawnattr_setsigmask(&attributes_, &blocked);
        posix_spawnattr_setsigdefault(&attributes_, &standard);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        return &attributes_;
    }

private:
    posix_spawnattr_t attributes_{};
};

} // namespace

DecoderProcess::DecoderProcess(const std::string& program, const Descriptor& picture) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        failToStart(errno);
    }
    talk_ = Descriptor(ends[0]);
    const Descriptor otherEnd(ends[1]);
    const Descriptor theirTalk = movedAway(otherEnd);
    const Descriptor theirPicture = movedAway(picture);
    if (!theirTalk.isOpen() || !theirPicture.isOpen()) {
        failToStart(errno);
    }
    std::string name = "dornimage";
    std::string argument = decoderArgument;
    char* arguments[] = {name.data(), argument.data(), nullptr};
    SpawnActions actions;
    SpawnAttributes attributes;
    const int error =
        posix_spawn(&child_, program.c_str(), actions.setUp(theirPicture.get(), theirTalk.get()),
                    attributes.setUp(), arguments, environmentOfDecoder().data());
    if (error != 0) {
        child_ = -1;
        failToStart(error);
    }
}

DecoderProcess::~DecoderProcess() {
    stop();
}

void DecoderProcess::stop() {
    // Only a process that is there and ours: others may have its number, and -1 means all of them.
    if (child_ > 0 && waitpid(child_, nullptr, WNOHANG) == 0) {
        kill(child_, SIGKILL);
        while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    child_ = -1;
}

void DecoderProcess::send(const void* from, std::size_t bytes, unsigned seconds) {
    seconds_ = seconds;
    left_ = std::chrono::seconds(seconds);
    limitProcessorTime();
    // A request fits into an empty socket: the decoder has read the one before.
    if (::send(talk_.get(), from, bytes, MSG_NOSIGNAL) != static_cast<ssize_t>(bytes)) {
        failAsItEnded();
    }
}

// For when nobody is left to look at the clock.
void DecoderProcess::limitProcessorTime() const {
    clockid_t clock{};
    timespec used{};
    rlimit limit{};
    if (clock_getcpuclockid(child_, &clock) == 0 && clock_gettime(clock, &used) == 0 &&
        prlimit(child_, RLIMIT_CPU, nullptr, &limit) == 0) {
        limit.rlim_cur = static_cast<rlim_t>(used.tv_sec) + seconds_ + 1;
        prlimit(child_, RLIMIT_CPU, &limit, nullptr);
    }
}

void DecoderProcess::read(void* to, std::size_t bytes) {
    constexpr std::size_t smallPart = 16384;
    auto* next = static_cast<char*>(to);
    while (bytes > 0) {
        if (used_ == buffer_.size() && bytes < smallPart) {
            buffer_.resize(smallPart);
            buffer_.resize(receive(buffer_.data(), smallPart));
            used_ = 0;
        }
        std::size_t got = std::min(bytes, buffer_.size() - used_);
        if (got > 0) {
            std::memcpy(next, buffer_.data() + used_, got);
            used_ += got;
        } else {
            got = receive(next, bytes);
        }
        next += got;
        bytes -= got;
    }
}

// At least one byte, as soon as there is one.
std::size_t DecoderProcess::receive(char* to, std::size_t bytes) {
    for (;;) {
        const ssize_t got = recv(talk_.get(), to, bytes, MSG_DONTWAIT);
        if (got > 0) {
            return static_cast<std::size_t>(got);
        }
        if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
            failAsItEnded();
        }
        waitForBytes();
    }
}

void DecoderProcess::waitForBytes() {
    using Clock = std::chrono::steady_clock;
    // While the tool is stopped at a terminal, the decoder is as well: a wait counts for no more than it was
    // to take.
    const std::chrono::milliseconds slice = std::min<std::chrono::milliseconds>(left_, 250ms);
    if (slice <= 0ms) {
        throw DecoderFailure(tooSlow());
    }
    pollfd state{talk_.get(), POLLIN, 0};
    const Clock::time_point start = Clock::now();
    poll(&state, 1, static_cast<int>(slice.count()));
    // Rounded up, so that many short waits come to an end as well.
    const auto waited = std::chrono::ceil<std::chrono::milliseconds>(Clock::now() - start);
    left_ -= std::min(waited, slice);
}

void DecoderProcess::failAsItEnded() {
    int status = 0;
    if (child_ > 0 && waitBriefly(status)) {
        child_ = -1;
        throw DecoderFailure(endInWords(status));
    }
    stop();
    throw DecoderFailure("the decoder fell silent");
}

// A process that ends lets go of the talk a little before it can be waited for. False when it lives on.
bool DecoderProcess::waitBriefly(int& status) const {
    constexpr int tries = 200;
    for (int i = 0; i < tries; ++i) {
        const pid_t answer = waitpid(child_, &status, WNOHANG);
        if (answer == child_) {
            return true;
        }
        if (answer < 0 && errno != EINTR) {
            return false; // whoever started the tool has children waited for by the kernel
        }
        std::this_thread::sleep_for(5ms);
    }
    return false;
}

std::string DecoderProcess::endInWords(int status) const {
    if (!WIFSIGNALED(status)) {
        return "the decoder ended with exit code " + std::to_string(WEXITSTATUS(status));
    }
    const int signal = WTERMSIG(status);
    if (signal == SIGXCPU) {
        return tooSlow();
    }
    const char* const words = sigdescr_np(signal);
    return "the decoder crashed (signal " + std::to_string(signal) +
           (words ? ", " + std::string(words) : "") + ")";
}

std::string DecoderProcess::tooSlow() const {
    return "took longer than " + countOf(seconds_, "second");
}
