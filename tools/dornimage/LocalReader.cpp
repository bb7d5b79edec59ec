#include "LocalReader.h"

#include <cerrno>
#include <cstring>
#include <exception>

using DornImage::GuardedFile;

LocalReader::LocalReader(const std::string& name, Frames frames, CodecMessages& messages)
    : ownFile_(std::fopen(name.c_str(), "rbe")), file_(ownFile_.get()),
      format_(DornImage::FreeImage_GetFIFFromFilename(name)), frames_(frames), messages_(messages) {}

LocalReader::LocalReader(std::FILE* file, FREE_IMAGE_FORMAT formatByName, Frames frames,
                         CodecMessages& messages)
    : file_(file), format_(formatByName), frames_(frames), messages_(messages) {}

FileContents LocalReader::open() {
    if (!file_) {
        return {FIF_UNKNOWN, 1, std::strerror(errno)};
    }
    messages_.listen();
    FreeImageIO io = GuardedFile::callbacks();
    GuardedFile file(file_, FIF_UNKNOWN);
    std::rewind(file_);
    const FREE_IMAGE_FORMAT byContent = FreeImage_GetFileTypeFromHandle(&io, &file, 0);
    if (byContent != FIF_UNKNOWN) {
        format_ = byContent;
    }
    int count = 1;
    if (FreeImage_FIFSupportsReading(format_) && DornImage::FreeImage_IsMultiPageFormat(format_)) {
        count = countPages();
        if (count <= 1) {
            // A single page is loaded as any other picture is, and keeps its palette; so is a file whose
            // pages can't be counted: its decoder tells why.
            count = 1;
            pages_.reset();
        }
    }
    messages_.take();
    return {format_, count, ""};
}

int LocalReader::countPages() {
    try {
        pagesFile_.emplace(file_, format_);
        pages_ = openPages(*pagesFile_, format_ == FIF_GIF && frames_ == Frames::played ? GIF_PLAYBACK : 0);
        return pages_ ? FreeImage_GetPageCount(pages_.get()) : 0;
    } catch (...) {
        return 0; // codecs throw what they like
    }
}

LocalReader::Pages LocalReader::openPages(GuardedFile& file, int flags) {
    FreeImageIO io = GuardedFile::callbacks();
    std::rewind(file_);
    return Pages(FreeImage_OpenMultiBitmapFromHandle(format_, &io, &file, flags));
}

BitmapHolder LocalReader::loadSingle(int flags) {
    FreeImageIO io = GuardedFile::callbacks();
    GuardedFile file(file_, format_);
    std::rewind(file_);
    return BitmapHolder(FreeImage_LoadFromHandle(format_, &io, &file, flags));
}

DecodedPage LocalReader::read(int page) {
    messages_.listen();
    DecodedPage result;
    try {
        result.bitmap = decode(page);
    } catch (const std::exception& error) {
        messages_.setError("", 0, error.what());
    } catch (...) {
        // Codecs throw what they like.
        messages_.setError("", 0, "Unhandled exception");
    }
    result.messages = messages_.take();
    return result;
}

BitmapHolder LocalReader::decode(int page) {
    if (!pages_) {
        return loadSingle(0);
    }
    FIBITMAP* const locked = FreeImage_LockPage(pages_.get(), page - 1);
    BitmapHolder copy(locked ? FreeImage_Clone(locked) : nullptr);
    if (locked) {
        FreeImage_UnlockPage(pages_.get(), locked, FALSE);
    }
    return copy;
}

std::optional<PageSize> LocalReader::size(int page) {
    if (!FreeImage_FIFSupportsNoPixels(format_)) {
        return std::nullopt;
    }
    const auto sizeOf = [](FIBITMAP* bitmap) {
        return PageSize{FreeImage_GetWidth(bitmap), FreeImage_GetHeight(bitmap), FreeImage_GetBPP(bitmap)};
    };
    std::optional<PageSize> result;
    messages_.listen();
    try {
        if (!pages_) {
            const BitmapHolder header = loadSingle(FIF_LOAD_NOPIXELS);
            result = header ? std::optional(sizeOf(header.get())) : std::nullopt;
        } else {
            if (!headers_) {
                headersFile_.emplace(file_, format_);
                headers_ = openPages(*headersFile_, FIF_LOAD_NOPIXELS);
            }
            FIBITMAP* const locked = FreeImage_LockPage(headers_.get(), page - 1);
            if (locked) {
                result = sizeOf(locked);
                FreeImage_UnlockPage(headers_.get(), locked, FALSE);
            }
        }
    } catch (...) {
        result.reset();
    }
    messages_.take(); // the decoding will say it again
    return result;
}
