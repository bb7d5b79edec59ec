#include "Faults.h"

#include <FreeImage.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/types.h>
#include <unwind.h>

// The functions below stand in front of the system's for every library of the process.
#define DORN_INTERPOSED extern "C" [[gnu::visibility("default")]]

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define DORN_OWN_MALLOC
#endif

namespace {

faults::Kind armed = faults::Kind::none;
unsigned callsLeft = 0;
bool hasFailed = false;
bool isPaused = true;

bool fails(faults::Kind kind) {
    if (isPaused || kind != armed || callsLeft == 0 || --callsLeft != 0) {
        return false;
    }
    hasFailed = true;
    return true;
}

// The code of this library and of FreeImage in memory.
struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;

    bool holds(void* address) const {
        return reinterpret_cast<std::uintptr_t>(address) - begin < end - begin;
    }
};
Range ownCode, freeImageCode;

int findCode(dl_phdr_info* info, std::size_t, void*) {
    const bool isOwn = std::strstr(info->dlpi_name, "libDornImage.so") != nullptr;
    if (isOwn || std::strstr(info->dlpi_name, "libfreeimage.so")) {
        for (int i = 0; i < info->dlpi_phnum; ++i) {
            if (info->dlpi_phdr[i].p_type == PT_LOAD && (info->dlpi_phdr[i].p_flags & PF_X) != 0) {
                const std::uintptr_t begin = info->dlpi_addr + info->dlpi_phdr[i].p_vaddr;
                (isOwn ? ownCode : freeImageCode) = {begin, begin + info->dlpi_phdr[i].p_memsz};
            }
        }
    }
    return 0;
}

// Whether FreeImage is what asks, by way of the C++ library or not: the innermost of its frames and this
// library's tells.
bool isFreeImageAsking() {
    bool answer = false;
    const auto look = [](_Unwind_Context* context, void* result) {
        auto* const address = reinterpret_cast<void*>(_Unwind_GetIP(context));
        *static_cast<bool*>(result) = freeImageCode.holds(address);
        return freeImageCode.holds(address) || ownCode.holds(address) ? _URC_NORMAL_STOP : _URC_NO_REASON;
    };
    _Unwind_Backtrace(look, &answer);
    return answer;
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

template <class Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace faults {

void arm(Kind kind, unsigned n) {
    dl_iterate_phdr(findCode, nullptr);
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
    return ownCode.holds(caller) && fails(faults::Kind::allocation);
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
    if (!isPaused && !isFreeImageAsking() && fails(faults::Kind::allocation)) {
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

namespace {

// `caller` is what called the function: FreeImage calls some of them itself.
template <class... Parameters, class... Arguments>
FIBITMAP* bitmapOf(void* caller, FIBITMAP* function(Parameters...), const char* name,
                   Arguments... arguments) {
    return ownCode.holds(caller) && fails(faults::Kind::bitmap) ? nullptr
                                                                : next(function, name)(arguments...);
}

} // namespace

// What the library asks FreeImage to make.
FIBITMAP* FreeImage_Allocate(int width, int height, int bits, unsigned red, unsigned green, unsigned blue) {
    return bitmapOf(__builtin_return_address(0), FreeImage_Allocate, "FreeImage_Allocate", width, height,
                    bits, red, green, blue);
}
FIBITMAP* FreeImage_AllocateT(FREE_IMAGE_TYPE type, int width, int height, int bits, unsigned red,
                              unsigned green, unsigned blue) {
    return bitmapOf(__builtin_return_address(0), FreeImage_AllocateT, "FreeImage_AllocateT", type, width,
                    height, bits, red, green, blue);
}
FIBITMAP* FreeImage_Clone(FIBITMAP* bitmap) {
    return bitmapOf(__builtin_return_address(0), FreeImage_Clone, "FreeImage_Clone", bitmap);
}
FIBITMAP* FreeImage_ConvertTo8Bits(FIBITMAP* bitmap) {
    return bitmapOf(__builtin_return_address(0), FreeImage_ConvertTo8Bits, "FreeImage_ConvertTo8Bits",
                    bitmap);
}
FIBITMAP* FreeImage_ConvertTo24Bits(FIBITMAP* bitmap) {
    return bitmapOf(__builtin_return_address(0), FreeImage_ConvertTo24Bits, "FreeImage_ConvertTo24Bits",
                    bitmap);
}
FIBITMAP* FreeImage_ConvertToGreyscale(FIBITMAP* bitmap) {
    return bitmapOf(__builtin_return_address(0), FreeImage_ConvertToGreyscale, "FreeImage_ConvertToGreyscale",
                    bitmap);
}
FIBITMAP* FreeImage_Threshold(FIBITMAP* bitmap, BYTE level) {
    return bitmapOf(__builtin_return_address(0), FreeImage_Threshold, "FreeImage_Threshold", bitmap, level);
}
FIBITMAP* FreeImage_Rescale(FIBITMAP* bitmap, int width, int height, FREE_IMAGE_FILTER filter) {
    return bitmapOf(__builtin_return_address(0), FreeImage_Rescale, "FreeImage_Rescale", bitmap, width,
                    height, filter);
}
FIBITMAP* FreeImage_Rotate(FIBITMAP* bitmap, double angle, const void* colour) {
    return bitmapOf(__builtin_return_address(0), FreeImage_Rotate, "FreeImage_Rotate", bitmap, angle, colour);
}
FIBITMAP* FreeImage_LoadFromHandle(FREE_IMAGE_FORMAT format, FreeImageIO* io, fi_handle handle, int flags) {
    return bitmapOf(__builtin_return_address(0), FreeImage_LoadFromHandle, "FreeImage_LoadFromHandle", format,
                    io, handle, flags);
}

DORN_INTERPOSED std::FILE* fopen(const char* name, const char* mode) {
    if (fails(faults::Kind::open)) {
        errno = EMFILE;
        return nullptr;
    }
    return next(fopen, "fopen")(name, mode);
}

DORN_INTERPOSED int open(const char* name, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if (fails(faults::Kind::open)) {
        errno = EMFILE;
        return -1;
    }
    return next(open, "open")(name, flags, mode);
}

DORN_INTERPOSED int openat(int folder, const char* name, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if (fails(faults::Kind::open)) {
        errno = EMFILE;
        return -1;
    }
    return next(openat, "openat")(folder, name, flags, mode);
}

DORN_INTERPOSED int mkostemp(char* pattern, int flags) {
    if (fails(faults::Kind::open)) {
        errno = EMFILE;
        return -1;
    }
    return next(mkostemp, "mkostemp")(pattern, flags);
}

DORN_INTERPOSED int mkostemps(char* pattern, int suffix, int flags) {
    if (fails(faults::Kind::open)) {
        errno = EMFILE;
        return -1;
    }
    return next(mkostemps, "mkostemps")(pattern, suffix, flags);
}

DORN_INTERPOSED char* mkdtemp(char* pattern) {
    if (fails(faults::Kind::open)) {
        errno = ENOSPC;
        return nullptr;
    }
    return next(mkdtemp, "mkdtemp")(pattern);
}
