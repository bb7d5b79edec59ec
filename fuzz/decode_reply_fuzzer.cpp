// Feeds bytes to what reads the answers of a decoder in a process apart. A page that comes out of it must go
// through another answer unchanged. A difference ends the process, as the sanitizers do.

#include "DecodeProtocol.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

namespace {

// More than any input of a useful length asks for in one piece, and little enough to be filled often.
constexpr std::uint64_t limit = 1 << 20;

class Bytes : public ByteSource {
public:
    Bytes(const void* start, std::size_t size) : next_(static_cast<const char*>(start)), left_(size) {}

    void read(void* to, std::size_t bytes) override {
        if (bytes > left_) {
            throw BadReply();
        }
        if (bytes > 0) {
            std::memcpy(to, next_, bytes);
        }
        next_ += bytes;
        left_ -= bytes;
    }

private:
    const char* next_;
    std::size_t left_;
};

class Text : public ByteSink {
public:
    void write(const void* from, std::size_t bytes) override {
        text.append(static_cast<const char*>(from), bytes);
    }

    std::string text;
};

std::string asText(const PageReply& reply) {
    Text result;
    writePage(result, reply.page, reply.needsMemory);
    return result.text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        Bytes bytes(data, size);
        const std::string once = asText(readPage(bytes, limit));
        Bytes again(once.data(), once.size());
        if (asText(readPage(again, 2 * limit)) != once) {
            std::abort();
        }
    } catch (const BadReply&) {
    }
    try {
        Bytes bytes(data, size);
        readSize(bytes);
        OpenReply opened{};
        bytes.read(&opened, sizeof(opened));
        contentsOf(opened);
    } catch (const BadReply&) {
    }
    return 0;
}
