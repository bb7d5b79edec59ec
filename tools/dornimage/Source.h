#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SOURCE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SOURCE_H

#include "CodecMessages.h"
#include "Decoding.h"
#include "PageReader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A page and what its codec said about it.
struct Page {
    DornImage::Reference<DornImage::Image> image;
    std::vector<std::string> messages;
};

/// A picture file opened for reading its pages one by one.
class Source {
public:
    /// Finds the format, by content and then by name, and counts the pages. `messages` is used for every
    /// load, where that is not decoded apart. Throws ToolError (ExitCode::input) when there is no picture
    /// that can be read.
    Source(const std::string& name, CodecMessages& messages, Frames frames = Frames::stored,
           const Decoding& decoding = {});

    /// The same with a reader of the caller's for this file. With an IsolatedReader there is no
    /// CodecMessages, and several threads may have a source each.
    Source(std::string name, std::unique_ptr<PageReader> reader);

    const std::string& name() const { return name_; }
    FREE_IMAGE_FORMAT format() const { return contents_.format; }
    /// At least 1.
    int pageCount() const { return contents_.pageCount; }

    /// Decodes a page; they count from 1. Throws ToolError (ExitCode::input).
    Page load(int page);

    /// What the page's header says, without decoding its pixels; none where its codec can't tell that way.
    /// Throws ToolError (ExitCode::input) when there is no such page.
    std::optional<PageSize> sizeOf(int page);

private:
    void checkNumber(int page) const;
    [[noreturn]] void fail(const std::string& cause) const;

    std::string name_;
    FileContents contents_;
    std::unique_ptr<PageReader> reader_;
};

#endif
