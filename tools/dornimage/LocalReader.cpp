#include "LocalReader.h"

#include <cerrno>
#include <cstring>

namespace {

std::FILE* fileOf(fi_handle handle) {
    return static_cast<std::FILE*>(handle);
}

unsigned DLL_CALLCONV readFile(void* buffer, unsigned itemSize, unsigned itemCount, fi_handle handle) {
    return static_cast<unsigned>(std::fread(buffer, itemSize, itemCount, fileOf(handle)));
}

int DLL_CALLCONV seekFile(fi_handle handle, long offset, int origin) {
    return std::fseek(fileOf(handle), offset, origin);
}

long DLL_CALLCONV tellFile(fi_handle handle) {
    return std::ftell(fileOf(handle));
}

FreeImageIO fileCallbacks() {
    FreeImageIO io{};
    io.read_proc = readFile;
    io.seek_proc = seekFile;
    io.tell_proc = tellFile;
    return io;
}

} // namespace

LocalReader::LocalReader(const std::string& name, Frames frames, CodecMessages& messages)
    : ownFile_(std::fopen(name.c_str(), "rbe")), file_(ownFile_.get()),
      format_(FreeImage_GetFIFFromFilename(name.c_str())), frames_(frames), messages_(messages) {}

LocalReader::LocalReader(std::FILE* file, FREE_IMAGE_FORMAT formatByName, Frames frames,
                         CodecMessages& messages)
    : file_(file), format_(formatByName), frames_(frames), messages_(messages) {}

FileContents LocalReader::open() {
    if (!file_) {
        return {FIF_UNKNOWN, 1, std::strerror(errno)};
    }
    messages_.listen();
    FreeImageIO io = fileCallbacks();
    std::rewind(file_);
    const FREE_IMAGE_FORMAT byContent = FreeImage_GetFileTypeFromHandle(&io, file_, 0);
    if (byContent != FIF_UNKNOWN) {
        format_ = byContent;
    }
    int count = 1;
    if (FreeImage_FIFSupportsReading(format_) && DornImage::FreeImage_IsMultiPageFormat(format_)) {
        pages_ = openPages(format_ == FIF_GIF && frames_ == Frames::played ? GIF_PLAYBACK : 0);
        count = pages_ ? FreeImage_GetPageCount(pages_.get()) : 0;
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

LocalReader::Pages LocalReader::openPages(int flags) {
    FreeImageIO io = fileCallbacks();
    std::rewind(file_);
    return Pages(FreeImage_OpenMultiBitmapFromHandle(format_, &io, file_, flags));
}

DecodedPage LocalReader::read(int page) {
    messages_.listen();
    DecodedPage result;
    try {
        result.bitmap = decode(page);
    } catch (...) {
        // Codecs throw what they like.
        messages_.setError("", 0, "Unhandled exception");
    }
    result.messages = messages_.take();
    return result;
}

BitmapHolder LocalReader::decode(int page) {
    if (!pages_) {
        FreeImageIO io = fileCallbacks();
        std::rewind(file_);
        return BitmapHolder(FreeImage_LoadFromHandle(format_, &io, file_, 0));
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
            FreeImageIO io = fileCallbacks();
            std::rewind(file_);
            const BitmapHolder header(FreeImage_LoadFromHandle(format_, &io, file_, FIF_LOAD_NOPIXELS));
            result = header ? std::optional(sizeOf(header.get())) : std::nullopt;
        } else {
            if (!headers_) {
                headers_ = openPages(FIF_LOAD_NOPIXELS);
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
