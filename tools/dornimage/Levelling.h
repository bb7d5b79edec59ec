#ifndef DORNIMAGE_TOOLS_DORNIMAGE_LEVELLING_H
#define DORNIMAGE_TOOLS_DORNIMAGE_LEVELLING_H

#include "PlainColours.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>

// Undoes the skew of a page. Angles are degrees on paper, above 0 where text lines fall to the right.

/// Whether lines off by `angle` are off by less than a pixel at the edges of the page.
bool isLevelToAPixel(double angle, DornImage::Image& page);

/// The page with its pixels made square, or itself when they are. Throws ToolError (ExitCode::limits) in the
/// name of `file`.
DornImage::Reference<DornImage::Image> withSquarePixels(const DornImage::Reference<DornImage::Image>& page,
                                                        const std::string& file);

/// The page turned counter-clockwise by `angle` about its middle, on the same size. One whose pixels aren't
/// square, such as a fax, is turned as it is on paper. Throws ToolError in the name of `file`.
DornImage::Reference<DornImage::Image> turnedBack(const DornImage::Reference<DornImage::Image>& page,
                                                  double angle, PlainColours& colours,
                                                  const std::string& file);

#endif
