#include "PictureWriter.h"

#include "ExitCode.h"
#include "Text.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// A file under FreeImage's callbacks that remembers whether all of it reached the system. FreeImage's own
// save by name does not look at the result of its last write.
class CheckedFile {
public:
    explicit CheckedFile(const std::string& path) : file_(std::fopen(path.c_str(), "w+b")) {}
    CheckedFile(const CheckedFile&) = delete;
    CheckedFile& operator=(const CheckedFile&) = delete;
    ~CheckedFile() { close(); }

    bool isOpen() const { return file_ != nullptr; }
    fi_handle handle() const { return file_; }

    static FreeImageIO callbacks() {
        return {[](void* buffer, unsigned size, unsigned count, fi_handle handle) {
                    return static_cast<unsigned>(std::fread(buffer, size, count, asFile(handle)));
                },
                [](void* buffer, unsigned size, unsigned count, fi_handle handle) {
                    return static_cast<unsigned>(std::fwrite(buffer, size, count, asFile(handle)));
                },
                [](fi_handle handle, long offset, int origin) {
                    return std::fseek(asFile(handle), offset, origin);
                },
                [](fi_handle handle) { return std::ftell(asFile(handle)); }};
    }

    /// Whether every byte was taken. errno tells why not.
    bool close() {
        if (!file_) {
            return true;
        }
        const bool failedBefore = std::ferror(file_) != 0;
        const bool closed = std::fclose(file_) == 0;
        file_ = nullptr;
        return closed && !failedBefore;
    }

private:
    static std::FILE* asFile(fi_handle handle) { return static_cast<std::FILE*>(handle); }

    std::FILE* file_;
};

// Image::Save's choice: fax coding for a bilevel page, JPEG coding for grey and true colour.
int defaultFlags(FREE_IMAGE_FORMAT format, unsigned depth) {
    if (format != FIF_TIFF) {
        return 0;
    }
    return depth == 1 ? TIFF_CCITTFAX4 : depth == 8 || depth == 24 ? TIFF_JPEG : 0;
}

std::string depthsHeld(FREE_IMAGE_FORMAT format) {
    std::vector<std::string> depths;
    for (const int depth : exportDepths(format)) {
        depths.push_back(std::to_string(depth));
    }
    return join(depths, ", ");
}

} // namespace

std::vector<int> exportDepths(FREE_IMAGE_FORMAT format) {
    std::vector<int> depths;
    for (const unsigned depth : {1U, 4U, 8U, 16U, 24U, 32U}) {
        if (DornImage::FreeImage_CanSave(format, FIT_BITMAP, depth)) {
            depths.push_back(static_cast<int>(depth));
        }
    }
    return depths;
}

FREE_IMAGE_FORMAT formatForWriting(const std::string& outputName, const std::string& formatText) {
    FREE_IMAGE_FORMAT format = FIF_UNKNOWN;
    if (formatText.empty()) {
        format = DornImage::FreeImage_GetFIFFromFilename(outputName);
        if (format == FIF_UNKNOWN) {
            throw ToolError(ExitCode::usage, outputName,
                            "its name does not tell the format to write; use --format");
        }
    } else {
        format = FreeImage_GetFIFFromFormat(formatText.c_str());
        if (format == FIF_UNKNOWN) {
            format = DornImage::FreeImage_GetFIFFromFilename(formatText);
        }
        if (format == FIF_UNKNOWN) {
            format = DornImage::FreeImage_GetFIFFromMime(formatText);
        }
        if (format == FIF_UNKNOWN) {
            throw ToolError(ExitCode::usage, outputName,
                            "there is no format \"" + formatText + "\"; see dornimage formats");
        }
    }
    if (!FreeImage_FIFSupportsWriting(format)) {
        throw ToolError(ExitCode::usage, outputName,
                        formatName(format) + " pictures cannot be written; see dornimage formats");
    }
    return format;
}

bool keepsExif(FREE_IMAGE_FORMAT format) {
    return format == FIF_JPEG || format == FIF_WEBP || format == FIF_PSD;
}

std::string orientationLost(int orientation) {
    return "its EXIF orientation " + std::to_string(orientation) +
           " has no place in the output, which shows it as it is stored";
}

PictureWriter::PictureWriter(std::string name, FREE_IMAGE_FORMAT format, std::optional<int> flags,
                             CodecMessages& messages)
    : name_(std::move(name)), format_(format), flags_(flags), messages_(messages) {}

void PictureWriter::checkHolds(FIBITMAP* bitmap) const {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
    const unsigned depth = FreeImage_GetBPP(bitmap);
    if (DornImage::FreeImage_CanSave(format_, type, depth)) {
        return;
    }
    if (type != FIT_BITMAP) {
        fail(formatName(format_) + " cannot hold pictures of the kind " + pixelTypeName(type) + "; see --to");
    }
    const std::string held = depthsHeld(format_);
    fail(formatName(format_) + " cannot hold " + countOf(depth, "bit") + " a pixel" +
         (held.empty() ? "" : ", only " + held) + "; see --to");
}

void PictureWriter::writeWhole(const std::function<bool(FreeImageIO&, fi_handle)>& save,
                               const OutputFile::Whole& whole) {
    CheckedFile opened(file_->path());
    if (!opened.isOpen()) {
        fail(std::strerror(errno));
    }
    FreeImageIO io = CheckedFile::callbacks();
    messages_.listen();
    const bool saved = save(io, opened.handle());
    // What the system says is the cause of what the codec says.
    if (!opened.close()) {
        fail(std::string("cannot be written: ") + std::strerror(errno));
    }
    if (!saved) {
        fail(codecRefusal());
    }
    file_->commit(whole);
}

void PictureWriter::writeSingle(DornImage::Image& image, const OutputFile::Whole& whole) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    checkHolds(bitmap);
    file_ = std::make_unique<OutputFile>(name_);
    const int flags = flags_.value_or(defaultFlags(format_, image.GetBpp()));
    writeWhole(
        [&](FreeImageIO& io, fi_handle handle) {
            return FreeImage_SaveToHandle(format_, bitmap, &io, handle, flags) != FALSE;
        },
        whole);
}

void PictureWriter::append(DornImage::Image& image) {
    checkHolds(image.getFIBTMAP());
    messages_.listen();
    if (!file_) {
        file_ = std::make_unique<OutputFile>(name_);
        // Coded pages wait in memory: FreeImage does not look whether its cache file takes them.
        pages_.reset(FreeImage_OpenMultiBitmap(format_, file_->scratchPath().c_str(), TRUE, FALSE, TRUE, 0));
        if (!pages_) {
            fail(codecRefusal());
        }
    }
    // A page that the codec refuses is left out in silence.
    const int before = FreeImage_GetPageCount(pages_.get());
    FreeImage_AppendPage(pages_.get(), image.getFIBTMAP());
    if (FreeImage_GetPageCount(pages_.get()) != before + 1) {
        fail("page " + std::to_string(before + 1) + ": " + codecRefusal());
    }
}

void PictureWriter::finish() {
    // Closing the pages would save them as well, without looking whether the disk takes all of it.
    writeWhole([this](FreeImageIO& io, fi_handle handle) {
        return FreeImage_SaveMultiBitmapToHandle(format_, pages_.get(), &io, handle, flags_.value_or(0)) !=
               FALSE;
    });
}

// Closing writes what is there to the scratch file: the less, the better.
void PictureWriter::ClosePages::operator()(FIMULTIBITMAP* pages) const {
    while (FreeImage_GetPageCount(pages) > 1) {
        FreeImage_DeletePage(pages, 0);
    }
    FreeImage_CloseMultiBitmap(pages, 0);
}

std::string PictureWriter::codecRefusal() {
    return messages_.takeAsCause("cannot be written: ", "cannot be written");
}

void PictureWriter::fail(const std::string& cause) const {
    throw ToolError(ExitCode::output, name_, cause);
}
