#ifndef DORNIMAGE_TOOLS_DORNIMAGE_QUARTERTURN_H
#define DORNIMAGE_TOOLS_DORNIMAGE_QUARTERTURN_H

#include "OutputFile.h"
#include "PlainColours.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>

// Turns by right angles and mirrorings, which lose no pixel. Resolutions across and down change places with
// the sides.

/// The page turned clockwise by 90, 180 or 270 degrees. Depths that cannot be turned are brought to
/// `colours`. Throws ToolError.
DornImage::Reference<DornImage::Image> turned(const DornImage::Reference<DornImage::Image>& page,
                                              int clockwise, PlainColours& colours);

/// A page turned upright after its EXIF orientation, which says so afterwards, and what it said before.
struct UprightPage {
    DornImage::Reference<DornImage::Image> page;
    int orientation; // 1: the page is the same as before
};

/// Throws ToolError (ExitCode::limits) in the name of `file` when memory runs out.
UprightPage upright(const DornImage::Reference<DornImage::Image>& page, const std::string& file);

/// The page turned upright from an EXIF orientation of 2 to 8, whatever its own tag says; what it says
/// afterwards is 1. Throws as above.
DornImage::Reference<DornImage::Image>
uprightFrom(int orientation, const DornImage::Reference<DornImage::Image>& page, const std::string& file);

/// Makes the EXIF orientation of a bitmap 1, where it has one.
void markUpright(FIBITMAP* bitmap);

/// The operation that turns upright what is stored under an EXIF orientation of 2 to 8.
DornImage::JpegOperation jpegOperationFor(int orientation);

/// Turns a JPEG file as it is, all its markers kept. The operation is applied to what is stored.
/// @param markUpright makes its EXIF orientation 1.
/// @param whole as of OutputFile.
/// @return false, with no output, when that would lose something: the size isn't one of whole blocks.
/// Throws ToolError (ExitCode::input or output).
bool turnJpegFile(const std::string& input, const std::string& output, DornImage::JpegOperation operation,
                  bool markUpright, const OutputFile::Whole& whole = {});

#endif
