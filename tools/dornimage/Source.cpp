#include "Source.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace {

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

} // namespace

Source::Source(std::string name, CodecMessages& messages, Frames frames)
    : name_(std::move(name)), messages_(messages) {
    if (const std::string trouble = fileTrouble(name_); !trouble.empty()) {
        fail(trouble);
    }
    messages_.listen();
    format_ = FreeImage_GetFileType(name_.c_str(), 0);
    if (format_ == FIF_UNKNOWN) {
        format_ = FreeImage_GetFIFFromFilename(name_.c_str());
    }
    if (format_ == FIF_UNKNOWN) {
        fail("not a picture that can be read");
    }
    if (!FreeImage_FIFSupportsReading(format_)) {
        fail(formatName(format_) + " pictures cannot be read");
    }
    if (DornImage::FreeImage_IsMultiPageFormat(format_)) {
        openPages(frames);
    }
}

void Source::openPages(Frames frames) {
    const int flags = format_ == FIF_GIF && frames == Frames::played ? GIF_PLAYBACK : 0;
    // Read only: otherwise FreeImage puts a cache file beside the picture.
    pages_.reset(FreeImage_OpenMultiBitmap(format_, name_.c_str(), FALSE, TRUE, FALSE, flags));
    pageCount_ = pages_ ? FreeImage_GetPageCount(pages_.get()) : 0;
    if (pageCount_ <= 1) {
        // A single page is loaded as any other picture is, and keeps its palette; so is a file whose pages
        // can't be counted: its decoder tells why.
        pageCount_ = 1;
        pages_.reset();
    }
    messages_.take();
}

Page Source::load(int page) {
    if (page < 1 || page > pageCount_) {
        fail("there is no page " + std::to_string(page) + ", the file has " + countOf(pageCount_, "page"));
    }
    FIBITMAP* const bitmap = decode(page);
    if (!bitmap) {
        const std::string which = pageCount_ > 1 ? "page " + std::to_string(page) + ": " : "";
        fail(which + messages_.takeAsCause("cannot be read: ", "not a picture that can be read"));
    }
    Page result;
    result.image = new dornbase::ReferencedImplMT<DornImage::Image>();
    result.image->Attach(bitmap);
    result.messages = messages_.take();
    return result;
}

FIBITMAP* Source::decode(int page) {
    if (!pages_) {
        return DornImage::FreeImage_LoadFile(format_, name_, messages_);
    }
    messages_.listen();
    FIBITMAP* const locked = FreeImage_LockPage(pages_.get(), page - 1);
    if (!locked) {
        return nullptr;
    }
    FIBITMAP* const copy = FreeImage_Clone(locked);
    FreeImage_UnlockPage(pages_.get(), locked, FALSE);
    return copy;
}

void Source::fail(const std::string& cause) const {
    throw ToolError(ExitCode::input, name_, cause);
}
