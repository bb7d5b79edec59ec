#include "Faults.h"

#include "Interposed.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

#include <link.h>
#include <unwind.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define DORN_OWN_MALLOC
#endif

namespace {

faults::Kind armed = faults::Kind::none;
unsigned callsLeft = 0;
bool hasFailed = false;
bool isPaused = true;

// The code of the library, of this executable with the parts of the tool in it, and of FreeImage in memory.
struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;

    bool holds(void* address) const {
        return reinterpret_cast<std::uintptr_t>(address) - begin < end - begin;
    }
};
Range libraryCode, programCode, freeImageCode;

// The C++ library's functions that list folders, which promise not to throw and yet ask for memory.
constexpr const char* listingNames[] = {
    "_ZNSt10filesystem7__cxx1118directory_iteratorC1ERKNS0_4pathENS_17directory_optionsEPSt10error_code",
    "_ZNSt10filesystem7__cxx1118directory_iteratorppEv",
    "_ZNSt10filesystem7__cxx1118directory_iterator9incrementERSt10error_code"};
Range listingCode[std::size(listingNames)];

bool isListing(void* address) {
    return std::any_of(std::begin(listingCode), std::end(listingCode),
                       [&](const Range& range) { return range.holds(address); });
}

Range findFunction(const char* name) {
    void* const function = dlsym(RTLD_DEFAULT, name);
    Dl_info info{};
    void* symbol = nullptr;
    if (!function || dladdr1(function, &info, &symbol, RTLD_DL_SYMENT) == 0 || !symbol) {
        return {};
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(function);
    return {begin, begin + static_cast<ElfW(Sym)*>(symbol)->st_size};
}

int findCode(dl_phdr_info* info, std::size_t, void*) {
    Range* const range = std::strstr(info->dlpi_name, "libDornImage.so")   ? &libraryCode
                         : std::strstr(info->dlpi_name, "libfreeimage.so") ? &freeImageCode
                         : info->dlpi_name[0] == '\0'                      ? &programCode
                                                                           : nullptr;
    for (int i = 0; range && i < info->dlpi_phnum; ++i) {
        if (info->dlpi_phdr[i].p_type == PT_LOAD && (info->dlpi_phdr[i].p_flags & PF_X) != 0) {
            const std::uintptr_t begin = info->dlpi_addr + info->dlpi_phdr[i].p_vaddr;
            *range = {begin, begin + info->dlpi_phdr[i].p_memsz};
        }
    }
    return 0;
}

// Whether the innermost frame from that of `caller` on that is FreeImage's, ours or that of a listing is not
// ours: the others end the process when they get no memory.
bool endsWithoutMemory(void* caller) {
    struct Search {
        void* from;
        bool ends;
    } search{caller, false};
    const auto look = [](_Unwind_Context* context, void* result) {
        auto* const state = static_cast<Search*>(result);
        auto* const address = reinterpret_cast<void*>(_Unwind_GetIP(context));
        state->from = state->from == address ? nullptr : state->from;
        state->ends = freeImageCode.holds(address) || isListing(address);
        return !state->from && (state->ends || faults::isOurs(address)) ? _URC_NORMAL_STOP : _URC_NO_REASON;
    };
    _Unwind_Backtrace(look, &search);
    return search.ends;
}

// The blocks since arm(), and the code that asked for each.
struct Block {
    void* start;
    void* caller;
};
constexpr std::size_t mostBlocks = 1 << 16;
Block blocks[mostBlocks];

[[maybe_unused]] std::size_t slotOf(const void* start) {
    std::size_t slot = (reinterpret_cast<std::uintptr_t>(start) >> 4) * 0x9E3779B1U % mostBlocks;
    while (blocks[slot].start && blocks[slot].start != start) {
        slot = (slot + 1) % mostBlocks;
    }
    return slot;
}

void remember([[maybe_unused]] void* start, [[maybe_unused]] void* caller) {
#if defined(DORN_OWN_MALLOC)
    if (start && !isPaused) {
        blocks[slotOf(start)] = {start, caller};
    }
#endif
}

} // namespace

namespace faults {

bool fails(Kind kind) {
    if (isPaused || kind != armed || callsLeft == 0 || --callsLeft != 0) {
        return false;
    }
    hasFailed = true;
    return true;
}

bool isArmed() {
    return !isPaused;
}

bool isOurs(void* address) {
    Dl_info info{};
    // What the executable exports stands in for functions that others have as well, such as those of vectors.
    return libraryCode.holds(address) ||
           (programCode.holds(address) && (dladdr(address, &info) == 0 || !info.dli_sname));
}

void arm(Kind kind, unsigned n) {
    dl_iterate_phdr(findCode, nullptr);
    std::transform(std::begin(listingNames), std::end(listingNames), std::begin(listingCode), findFunction);
    std::fill(std::begin(blocks), std::end(blocks), Block{});
    armed = kind;
    callsLeft = n;
    hasFailed = false;
    isPaused = false;
}

bool disarm() {
    isPaused = true;
    armed = Kind::none;
    return hasFailed;
}

std::string leaks() {
    std::map<std::string, int> counts;
    for (const Block& block : blocks) {
        Dl_info info{};
        if (block.caller && dladdr(block.caller, &info) != 0) {
            ++counts[std::strrchr(info.dli_fname, '/') ? std::strrchr(info.dli_fname, '/') + 1
                                                       : info.dli_fname];
        }
    }
    std::string text;
    for (const auto& [library, count] : counts) {
        text += library + ": " + std::to_string(count) + " ";
    }
    return text;
}

Pause::Pause() : before_(isPaused) {
    isPaused = true;
}

Pause::~Pause() {
    isPaused = before_;
}

} // namespace faults

#if defined(DORN_OWN_MALLOC)
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void __libc_free(void* block);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* block, std::size_t size);
extern "C" void* __libc_memalign(std::size_t alignment, std::size_t size);

namespace {

bool failsFor(void* caller) {
    return libraryCode.holds(caller) && faults::fails(faults::Kind::allocation);
}

// The place in the table stays taken, so that those behind it are found.
void forget(const void* start) {
    if (start) {
        Block& block = blocks[slotOf(start)];
        if (block.start) {
            block.caller = nullptr;
        }
    }
}

void* kept(void* block, void* caller) {
    remember(block, caller);
    return block;
}

} // namespace

DORN_INTERPOSED void* malloc(std::size_t size) {
    void* const caller = __builtin_return_address(0);
    return failsFor(caller) ? nullptr : kept(__libc_malloc(size), caller);
}

DORN_INTERPOSED void free(void* block) {
    forget(block);
    __libc_free(block);
}

DORN_INTERPOSED void* calloc(std::size_t count, std::size_t size) {
    void* const caller = __builtin_return_address(0);
    return failsFor(caller) ? nullptr : kept(__libc_calloc(count, size), caller);
}

DORN_INTERPOSED void* realloc(void* block, std::size_t size) {
    void* const caller = __builtin_return_address(0);
    if (failsFor(caller)) {
        return nullptr;
    }
    forget(block);
    return kept(__libc_realloc(block, size), caller);
}

DORN_INTERPOSED void* memalign(std::size_t alignment, std::size_t size) {
    return kept(__libc_memalign(alignment, size), __builtin_return_address(0));
}

DORN_INTERPOSED void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return kept(__libc_memalign(alignment, size), __builtin_return_address(0));
}

DORN_INTERPOSED int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = kept(__libc_memalign(alignment, size), __builtin_return_address(0));
    return *block ? 0 : ENOMEM;
}

#define DORN_MALLOC __libc_malloc
#else
#define DORN_MALLOC std::malloc
#endif

namespace {

void* make(std::size_t size, void* caller) {
    if (!isPaused && !endsWithoutMemory(caller) && faults::fails(faults::Kind::allocation)) {
        return nullptr;
    }
    void* const block = DORN_MALLOC(std::max<std::size_t>(size, 1));
    remember(block, caller);
    return block;
}

} // namespace

[[gnu::visibility("default")]] void* operator new(std::size_t size) {
    if (void* const block = make(size, __builtin_return_address(0))) {
        return block;
    }
    throw std::bad_alloc();
}

[[gnu::visibility("default")]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return make(size, __builtin_return_address(0));
}

[[gnu::visibility("default")]] void operator delete(void* block) noexcept {
    std::free(block);
}

[[gnu::visibility("default")]] void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
