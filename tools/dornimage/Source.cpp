#include "Source.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

constexpr char notAPicture[] = "not a picture that can be read";

// Why a file can't be read whatever its content, or an empty text.
std::string fileTrouble(const std::string& name) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(name, error);
    if (status.type() == std::filesystem::file_type::not_found) {
        return "no such file";
    }
    if (error) {
        return error.message();
    }
    if (status.type() == std::filesystem::file_type::directory) {
        return "is a folder";
    }
    if (status.type() != std::filesystem::file_type::regular) {
        return "is not a regular file";
    }
    std::FILE* const file = std::fopen(name.c_str(), "rb");
    if (!file) {
        return std::strerror(errno);
    }
    std::fclose(file);
    return std::filesystem::file_size(name, error) == 0 ? "file is empty" : "";
}

// Why there is no bitmap.
std::string causeOf(const DecodedPage& page) {
    std::vector<std::string> parts = page.messages;
    if (!page.trouble.empty()) {
        parts.insert(parts.begin(), page.trouble);
    }
    return parts.empty() ? notAPicture : "cannot be read: " + join(parts, "; ");
}

} // namespace

Source::Source(const std::string& name, CodecMessages& messages, Frames frames, const Decoding& decoding)
    : Source(name, readerFor(name, messages, frames, decoding)) {}

Source::Source(std::string name, std::unique_ptr<PageReader> reader)
    : name_(std::move(name)), reader_(std::move(reader)) {
    if (const std::string trouble = fileTrouble(name_); !trouble.empty()) {
        fail(trouble);
    }
    contents_ = reader_->open();
    if (!contents_.trouble.empty()) {
        fail(contents_.trouble);
    }
    if (contents_.format == FIF_UNKNOWN) {
        fail(notAPicture);
    }
    if (!FreeImage_FIFSupportsReading(contents_.format)) {
        fail(formatName(contents_.format) + " pictures cannot be read");
    }
}

Page Source::load(int page) {
    checkNumber(page);
    DecodedPage decoded = reader_->read(page);
    if (!decoded.bitmap) {
        const std::string which = pageCount() > 1 ? "page " + std::to_string(page) + ": " : "";
        fail(which + causeOf(decoded));
    }
    Page result;
    result.image = new dornbase::ReferencedImplMT<DornImage::Image>();
    result.image->Attach(decoded.bitmap.release());
    result.messages = std::move(decoded.messages);
    return result;
}

std::optional<PageSize> Source::sizeOf(int page) {
    checkNumber(page);
    return reader_->size(page);
}

void Source::checkNumber(int page) const {
    if (page < 1 || page > pageCount()) {
        fail("there is no page " + std::to_string(page) + ", the file has " + countOf(pageCount(), "page"));
    }
}

void Source::fail(const std::string& cause) const {
    throw ToolError(ExitCode::input, name_, cause);
}
