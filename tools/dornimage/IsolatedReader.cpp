#include "IsolatedReader.h"

#include "DecodeProtocol.h"
#include "ImageProcessing/DornImage/DornImage.h"
#include "Text.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <system_error>

namespace {

std::string inWords(std::uint64_t bytes) {
    constexpr std::uint64_t mebibyte = 1 << 20;
    constexpr std::uint64_t gibibyte = 1 << 30;
    return bytes % gibibyte == 0   ? std::to_string(bytes / gibibyte) + " GiB"
           : bytes % mebibyte == 0 ? std::to_string(bytes / mebibyte) + " MiB"
                                   : std::to_string(bytes) + " bytes";
}

} // namespace

IsolatedReader::IsolatedReader(std::string name, Frames frames, std::uint64_t memory, unsigned seconds,
                               std::string program)
    : name_(std::move(name)), frames_(frames), memory_(memory), seconds_(seconds),
      program_(std::move(program)) {}

FileContents IsolatedReader::open() {
    picture_ = Descriptor(::open(name_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!picture_.isOpen()) {
        contents_.trouble = std::generic_category().message(errno);
        return contents_;
    }
    try {
        start();
        if (!confined_) {
            report(name_, "the kernel refuses a sandbox: the decoder apart has limits on memory, time and "
                          "new files only");
        }
    } catch (const std::runtime_error& failure) {
        process_.reset();
        contents_.trouble = "cannot be read: " + std::string(failure.what());
    }
    return contents_;
}

void IsolatedReader::start() {
    process_ = std::make_unique<DecoderProcess>(program_, picture_);
    process_->ask(OpenRequest{memory_, DornImage::FreeImage_GetFIFFromFilename(name_),
                              static_cast<std::int32_t>(frames_)},
                  seconds_);
    OpenReply reply{};
    process_->read(&reply, sizeof(reply));
    const FileContents found = contentsOf(reply);
    const bool isFirst = contents_.format == FIF_UNKNOWN;
    if (!isFirst && (found.format != contents_.format || found.pageCount != contents_.pageCount)) {
        throw DecoderFailure("the file changed while it was read");
    }
    contents_ = found;
    confined_ = reply.confined == 1;
}

DecodedPage IsolatedReader::read(int page) {
    DecodedPage failed;
    try {
        if (!process_) {
            start();
        }
        process_->ask(PageRequest{page, 0}, seconds_);
        PageReply reply = readPage(*process_, memory_);
        if (reply.needsMemory) {
            reply.page.trouble = "needs more memory than " + inWords(memory_);
        }
        return std::move(reply.page);
    } catch (const std::runtime_error& failure) {
        failed.trouble = failure.what();
    } catch (const std::bad_alloc&) {
        failed.trouble = "needs more memory than there is";
    }
    process_.reset();
    return failed;
}

std::optional<PageSize> IsolatedReader::size(int page) {
    try {
        if (!process_) {
            start();
        }
        process_->ask(PageRequest{page, 1}, seconds_);
        return readSize(*process_);
    } catch (const std::runtime_error&) {
        process_.reset();
        return std::nullopt;
    }
}
