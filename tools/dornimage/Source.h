#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SOURCE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SOURCE_H

#include "CodecMessages.h"

#include <memory>
#include <string>
#include <vector>

/// How the pages of an animated GIF are taken.
enum class Frames {
    stored, // as the file holds them: only the part that changes, with a palette
    played, // the whole picture that a viewer shows at that moment, 32 bits
};

/// A page and what its codec said about it.
struct Page {
    DornImage::Reference<DornImage::Image> image;
    std::vector<std::string> messages;
};

/// A picture file opened for reading its pages one by one.
class Source {
public:
    /// Finds the format, by content and then by name, and counts the pages. `messages` is used for every
    /// load. Throws ToolError (ExitCode::input) when there is no picture that can be read.
    Source(std::string name, CodecMessages& messages, Frames frames = Frames::stored);

    const std::string& name() const { return name_; }
    FREE_IMAGE_FORMAT format() const { return format_; }
    /// At least 1.
    int pageCount() const { return pageCount_; }

    /// Decodes a page; they count from 1. Throws ToolError (ExitCode::input).
    Page load(int page);

private:
    struct CloseFile {
        void operator()(FIMULTIBITMAP* file) const { FreeImage_CloseMultiBitmap(file, 0); }
    };

    void openPages(Frames frames);
    FIBITMAP* decode(int page);
    [[noreturn]] void fail(const std::string& cause) const;

    std::string name_;
    FREE_IMAGE_FORMAT format_ = FIF_UNKNOWN;
    int pageCount_ = 1;
    CodecMessages& messages_;
    std::unique_ptr<FIMULTIBITMAP, CloseFile> pages_; // null for a file of one page
};

#endif
