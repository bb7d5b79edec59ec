#ifndef DORNIMAGE_PLATFORM_FILEDESCRIPTOR_H
#define DORNIMAGE_PLATFORM_FILEDESCRIPTOR_H

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dornplatform {

/* Owner of an open file descriptor, -1 when it holds none. */
class FileDescriptor {
public:
    explicit FileDescriptor(int value = -1) : value_(value) {}
    FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() { close(); }

    int get() const { return value_; }
    explicit operator bool() const { return value_ >= 0; }

    /* False if the system reports an error that a write left behind. */
    bool close() { return value_ < 0 || ::close(std::exchange(value_, -1)) == 0; }

private:
    int value_;
};

/* Opens a regular file for reading and tells its state; empty on failure and for anything else than a file.
   Never waits for the other end of a pipe. */
inline FileDescriptor openRegularFile(const char* name, struct stat& state) {
    FileDescriptor file(::open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file && (::fstat(file.get(), &state) != 0 || !S_ISREG(state.st_mode))) {
        file.close();
    }
    return file;
}

} // namespace dornplatform

#endif
