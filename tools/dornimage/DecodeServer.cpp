#include "DecodeServer.h"

#include "DecodeProtocol.h"
#include "LocalReader.h"
#include "Sandbox.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <new>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

bool memoryRanOut = false;

void onNoMemory() {
    memoryRanOut = true;
    throw std::bad_alloc();
}

// The tool at the other end. When it is gone there is nothing left to do.
class Talk : public ByteSink {
public:
    template <class Request>
    Request next() {
        Request request{};
        auto* to = reinterpret_cast<char*>(&request);
        for (std::size_t left = sizeof(request); left > 0;) {
            const ssize_t got = ::read(talkDescriptor, to, left);
            if (got > 0) {
                to += got;
                left -= static_cast<std::size_t>(got);
            } else if (got == 0 || errno != EINTR) {
                _exit(0);
            }
        }
        return request;
    }

    void write(const void* from, std::size_t bytes) override {
        const auto* next = static_cast<const char*>(from);
        while (bytes > 0) {
            const ssize_t done = ::write(talkDescriptor, next, bytes);
            if (done > 0) {
                next += done;
                bytes -= static_cast<std::size_t>(done);
            } else if (errno != EINTR) {
                _exit(0);
            }
        }
    }
};

/// Gathers the small parts of an answer.
class GatheringSink : public ByteSink {
public:
    explicit GatheringSink(ByteSink& to) : to_(to) {}
    GatheringSink(const GatheringSink&) = delete;
    GatheringSink& operator=(const GatheringSink&) = delete;
    ~GatheringSink() override { flush(); }

    void write(const void* from, std::size_t bytes) override {
        if (used_ + bytes > sizeof(gathered_)) {
            flush();
        }
        if (bytes > sizeof(gathered_)) {
            to_.write(from, bytes);
            return;
        }
        if (bytes > 0) { // there may be nothing to copy from
            std::memcpy(gathered_ + used_, from, bytes);
        }
        used_ += bytes;
    }

private:
    void flush() {
        to_.write(gathered_, used_);
        used_ = 0;
    }

    ByteSink& to_;
    char gathered_[16384];
    std::size_t used_ = 0;
};

bool isMoreThan(std::uint64_t memory, const std::optional<PageSize>& size) {
    return size &&
           static_cast<double>(size->width) * size->height * size->depth / 8 > static_cast<double>(memory);
}

} // namespace

void serveAsDecoder() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    Talk talk;
    const auto request = talk.next<OpenRequest>();
    std::FILE* const file = fdopen(pictureDescriptor, "rb");
    if (!file) {
        _exit(1);
    }
    static char buffer[65536]; // of the decoder's own: the library would first ask about the file
    std::setvbuf(file, buffer, _IOFBF, sizeof(buffer));
    CodecMessages messages;
    std::set_new_handler(onNoMemory);
    const bool confined = confineToDecoding(request.memory, talkDescriptor);
    LocalReader reader(file, static_cast<FREE_IMAGE_FORMAT>(request.formatByName),
                       static_cast<Frames>(request.frames), messages);
    const FileContents contents = reader.open();
    const OpenReply opened{contents.format, contents.pageCount, confined};
    talk.write(&opened, sizeof(opened));
    for (;;) {
        const auto asked = talk.next<PageRequest>();
        GatheringSink answer(talk);
        if (asked.headerOnly != 0) {
            writeSize(answer, reader.size(asked.page));
            continue;
        }
        memoryRanOut = false;
        errno = 0;
        const DecodedPage page = reader.read(asked.page);
        const bool lacksMemory = !page.bitmap && (memoryRanOut || errno == ENOMEM ||
                                                  isMoreThan(request.memory, reader.size(asked.page)));
        writePage(answer, page, lacksMemory);
    }
}
