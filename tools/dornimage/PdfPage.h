#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PDFPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PDFPAGE_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <optional>
#include <string>
#include <vector>

/// A picture coded as a PDF holds it, and the page that it fills.
struct PdfPage {
    double width = 0; // points, 72 of which are an inch
    double height = 0;
    std::string description;         // entries of the picture's dictionary, without its length
    std::vector<unsigned char> data; // the coded pixels
    std::string change;              // what had to be changed in the picture, in words; empty for nothing
};

/// Codes a picture for a PDF. Black and white get fax coding (CCITT group 4); 8-bit grey and 24-bit colour
/// get JPEG coding in `jpegQuality` (1 to 100) where one is given and the sides allow it; all else is coded
/// without loss as in PNG: palettes, 4, 8, 16, 24 and 48 bits. Transparency is laid on white. The page has
/// the size that the resolution tells, 72 dots per inch where there is none, but no side below 3 points.
///
/// Pages may be coded by several threads at a time.
///
/// @param jpegFile a JPEG file that decodes to this very picture, or empty. It is taken over byte by byte,
/// when
///        its coding is one that PDF readers share: 8 bits, grey or three colours.
/// @param output what the PDF is called, for messages.
/// Throws ToolError (ExitCode::output) for kinds of pixels that are no colours and for a page beyond the
/// 14400 points (5.08 m) that PDF allows, and std::bad_alloc.
PdfPage pdfPageOf(DornImage::Image& image, std::optional<int> jpegQuality, const std::string& jpegFile,
                  const std::string& output);

#endif
