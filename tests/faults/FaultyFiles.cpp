// Files that can't be opened, and disks that don't take what is written.

#include "Interposed.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

using faults::fails;
using faults::Kind;
using faults::next;

namespace {

bool failsToOpen(int cause = EMFILE) {
    const bool failed = fails(Kind::open);
    if (failed) {
        errno = cause;
    }
    return failed;
}

bool failsOnDisk() {
    if (fails(Kind::diskFull)) {
        errno = ENOSPC;
        return true;
    }
    if (fails(Kind::diskBroken)) {
        errno = EIO;
        return true;
    }
    return false;
}

// A stream that is written to the system by the functions below, as the C library's own are not, in small
// pieces, so that there are many places to fail at.
struct Stream {
    int file;
    char buffer[256];
};

ssize_t writeAll(void* stream, const char* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t part = write(static_cast<Stream*>(stream)->file, data + done, size - done);
        if (part <= 0) {
            break;
        }
        done += static_cast<std::size_t>(part);
    }
    return static_cast<ssize_t>(done);
}

std::FILE* openForWriting(const char* name, bool reads) {
    constexpr cookie_io_functions_t functions = {
        [](void* stream, char* data, std::size_t size) {
            return read(static_cast<Stream*>(stream)->file, data, size);
        },
        writeAll,
        [](void* stream, off64_t* offset, int origin) {
            *offset = lseek(static_cast<Stream*>(stream)->file, *offset, origin);
            return *offset < 0 ? -1 : 0;
        },
        [](void* stream) {
            const int closed = close(static_cast<Stream*>(stream)->file);
            std::free(stream);
            return closed;
        }};
    const int file = next(open, "open")(name, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0) {
        return nullptr;
    }
    auto* const stream = static_cast<Stream*>(std::malloc(sizeof(Stream)));
    stream->file = file;
    std::FILE* const result = fopencookie(stream, reads ? "w+" : "w", functions);
    std::setvbuf(result, stream->buffer, _IOFBF, sizeof stream->buffer);
    return result;
}

} // namespace

DORN_INTERPOSED std::FILE* fopen(const char* name, const char* mode) {
    if (failsToOpen()) {
        return nullptr;
    }
    if (mode[0] == 'w' && faults::isArmed() && faults::isOurs(__builtin_return_address(0))) {
        return openForWriting(name, std::strchr(mode, '+') != nullptr);
    }
    return next(fopen, "fopen")(name, mode);
}

DORN_INTERPOSED std::FILE* fopen64(const char* name, const char* mode) {
    return failsToOpen() ? nullptr : next(fopen, "fopen")(name, mode);
}

DORN_INTERPOSED int open(const char* name, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return failsToOpen() ? -1 : next(open, "open")(name, flags, mode);
}

DORN_INTERPOSED int openat(int folder, const char* name, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return failsToOpen() ? -1 : next(openat, "openat")(folder, name, flags, mode);
}

DORN_INTERPOSED int mkostemp(char* pattern, int flags) {
    return failsToOpen() ? -1 : next(mkostemp, "mkostemp")(pattern, flags);
}

DORN_INTERPOSED int mkostemps(char* pattern, int suffix, int flags) {
    return failsToOpen() ? -1 : next(mkostemps, "mkostemps")(pattern, suffix, flags);
}

DORN_INTERPOSED char* mkdtemp(char* pattern) {
    return failsToOpen(ENOSPC) ? nullptr : next(mkdtemp, "mkdtemp")(pattern);
}

DORN_INTERPOSED ssize_t write(int file, const void* data, std::size_t size) {
    return failsOnDisk() ? -1 : next(write, "write")(file, data, fails(Kind::cutWrite) ? size / 2 : size);
}

DORN_INTERPOSED ssize_t writev(int file, const iovec* parts, int count) {
    if (failsOnDisk()) {
        return -1;
    }
    return fails(Kind::cutWrite) ? next(write, "write")(file, parts->iov_base, parts->iov_len / 2)
                                 : next(writev, "writev")(file, parts, count);
}

DORN_INTERPOSED ssize_t sendfile(int to, int from, off_t* offset, std::size_t size) noexcept {
    return failsOnDisk()
               ? -1
               : next(sendfile, "sendfile")(to, from, offset, fails(Kind::cutWrite) ? size / 2 : size);
}

DORN_INTERPOSED int fsync(int file) {
    return failsOnDisk() ? -1 : next(fsync, "fsync")(file);
}

DORN_INTERPOSED int rename(const char* from, const char* to) noexcept {
    return failsOnDisk() ? -1 : next(rename, "rename")(from, to);
}
