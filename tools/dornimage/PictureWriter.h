#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PICTUREWRITER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PICTUREWRITER_H

#include "CodecMessages.h"
#include "OutputFile.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The format to write: by `formatText` (a format's name, extension or MIME type) or, when that is empty, by
/// the name of the output. Throws ToolError: ExitCode::usage when none is meant or its codec does not write.
FREE_IMAGE_FORMAT formatForWriting(const std::string& outputName, const std::string& formatText);

/// Bits a pixel of the usual pictures that can be written in the format.
std::vector<int> exportDepths(FREE_IMAGE_FORMAT format);

/// Whether FreeImage's writer of the format stores a picture's EXIF data.
bool keepsExif(FREE_IMAGE_FORMAT format);

/// Tells people that a format has no place for the EXIF orientation.
std::string orientationLost(int orientation);

/// Writes pictures of one format under one name. Nothing stands there before `finish`, and nothing new ever
/// when a step throws ToolError (ExitCode::output).
class PictureWriter {
public:
    /// @param flags FreeImage's save flags. Without them a TIFF of one page is coded as Image::Save chooses,
    /// and
    ///        pages of a longer one without loss.
    PictureWriter(std::string name, FREE_IMAGE_FORMAT format, std::optional<int> flags,
                  CodecMessages& messages);

    /// Throws when the format has no place for pictures of this depth and kind.
    void checkHolds(FIBITMAP* bitmap) const;

    /// Writes the only page.
    void writeSingle(DornImage::Image& image, const OutputFile::Whole& whole = {});

    /// Adds a page to a file of several.
    void append(DornImage::Image& image);

    /// Ends a file of several pages.
    void finish();

private:
    struct ClosePages {
        void operator()(FIMULTIBITMAP* pages) const;
    };

    void writeWhole(const std::function<bool(FreeImageIO&, fi_handle)>& save,
                    const OutputFile::Whole& whole = {});
    std::string codecRefusal();
    [[noreturn]] void fail(const std::string& cause) const;

    std::string name_;
    FREE_IMAGE_FORMAT format_;
    std::optional<int> flags_;
    CodecMessages& messages_;
    std::unique_ptr<OutputFile> file_;
    std::unique_ptr<FIMULTIBITMAP, ClosePages> pages_; // goes before the folder that it writes in
};

#endif
