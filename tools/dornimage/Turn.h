#ifndef DORNIMAGE_TOOLS_DORNIMAGE_TURN_H
#define DORNIMAGE_TOOLS_DORNIMAGE_TURN_H

#include "PlainColours.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>

/// A place on a page: pixels from the middle of the upper left one, y downwards.
struct Point {
    double x;
    double y;
};

Point middleOf(DornImage::Image& page);

/// The page turned by `clockwise` degrees about a point, on a canvas of the same size, with bilinear samples
/// in `colours`; a page of 1 bit stays one. Where the turned page doesn't reach, its edge pixels go on.
/// Throws ToolError in the name of `file`.
DornImage::Reference<DornImage::Image> turnedAbout(Point center, double clockwise,
                                                   const DornImage::Reference<DornImage::Image>& page,
                                                   PlainColours& colours, const std::string& file);

#endif
