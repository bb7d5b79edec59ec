#ifndef DORNIMAGE_TOOLS_DORNIMAGE_THUMBNAIL_H
#define DORNIMAGE_TOOLS_DORNIMAGE_THUMBNAIL_H

#include "ImageProcessing/DornImage/DornImage.h"

/// A small copy for a report: 8-bit grey or 24-bit colour, with the shape that the picture has on paper, in
/// colour also where it was transparent (on white). Each pixel is the mean of what it covers; a small picture
/// stays as large as it is. Null for kinds of pixels that are no colours, and when memory is short.
///
/// Costs one pass over the picture, and for 1 bit and 16 bits a copy of it in 8 or 24 bits.
/// @param longestSide in pixels, above 0.
DornImage::Reference<DornImage::Image> thumbnailOf(DornImage::Image& image, unsigned longestSide = 440);

#endif
