#include "platform/MemoryStream.h"

#include "platform/ReadOnlyStream.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace dornplatform {

namespace {

class MemoryStream final : public ReadOnlyStream {
public:
    MemoryStream(const unsigned char* data, std::size_t size) : data_(data), size_(size) {}
    explicit MemoryStream(std::vector<unsigned char> own)
        : own_(std::move(own)), data_(own_.data()), size_(own_.size()) {}

private:
    bool sourceSize(std::uint64_t& size) const override {
        size = size_;
        return true;
    }

    bool sourceRead(std::uint64_t offset, void* buffer, std::size_t size, std::size_t& got) const override {
        got = offset < size_ ? std::min<std::size_t>(size, size_ - offset) : 0;
        if (got > 0) {
            std::memcpy(buffer, data_ + offset, got);
        }
        return true;
    }

    const std::vector<unsigned char> own_;
    const unsigned char* const data_;
    const std::size_t size_;
};

} // namespace

IStream* createMemoryStream(const void* data, std::size_t size) {
    if (!data && size > 0) {
        return nullptr;
    }
    const auto* const bytes = static_cast<const unsigned char*>(data);
    return new MemoryStream(size > 0 ? std::vector<unsigned char>(bytes, bytes + size)
                                     : std::vector<unsigned char>());
}

IStream* borrowMemoryStream(const void* data, std::size_t size) {
    if (!data && size > 0) {
        return nullptr;
    }
    return new MemoryStream(static_cast<const unsigned char*>(data), size);
}

} // namespace dornplatform
