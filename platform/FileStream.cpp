#include "platform/FileStream.h"

#include "platform/FileDescriptor.h"
#include "platform/ReadOnlyStream.h"

#include <algorithm>
#include <cerrno>
#include <limits>

namespace dornplatform {

namespace {

class FileStream final : public ReadOnlyStream {
public:
    explicit FileStream(FileDescriptor file) : file_(std::move(file)) {}

private:
    bool sourceSize(std::uint64_t& size) const override {
        struct stat state;
        if (::fstat(file_.get(), &state) != 0) {
            return false;
        }
        size = static_cast<std::uint64_t>(state.st_size);
        return true;
    }

    bool sourceRead(std::uint64_t offset, void* buffer, std::size_t size, std::size_t& got) const override {
        constexpr auto farthest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
        size = static_cast<std::size_t>(std::min<std::uint64_t>(size, farthest - offset));
        got = 0;
        while (got < size) {
            const ssize_t part = ::pread(file_.get(), static_cast<unsigned char*>(buffer) + got, size - got,
                                         static_cast<off_t>(offset + got));
            if (part < 0 && errno == EINTR) {
                continue;
            }
            if (part < 0) {
                return false;
            }
            if (part == 0) {
                break;
            }
            got += static_cast<std::size_t>(part);
        }
        return true;
    }

    FileDescriptor file_;
};

} // namespace

IStream* createFileStream(const Velmora::u8string& fileName) {
    if (fileName.find('\0') != Velmora::u8string::npos) {
        return nullptr;
    }
    struct stat state;
    FileDescriptor file = openRegularFile(fileName.c_str(), state);
    return file ? new FileStream(std::move(file)) : nullptr;
}

} // namespace dornplatform
