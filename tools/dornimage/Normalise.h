#ifndef DORNIMAGE_TOOLS_DORNIMAGE_NORMALISE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_NORMALISE_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>

/// A page of 8-bit grey and what it was before.
struct GreyImage {
    DornImage::Reference<DornImage::Image> image;
    std::string from; // such as "24 bits"; empty when it was 8-bit grey
};

/// Makes a page 8-bit grey. What is transparent becomes middle grey, on which white shows as well as black.
/// Throws ToolError (ExitCode::input) in the name of `file` for kinds of pixels that have no grey, and
/// std::bad_alloc.
GreyImage normalised(DornImage::Image& page, const std::string& file);

#endif
