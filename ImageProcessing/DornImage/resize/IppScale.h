#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESIZE_IPPSCALE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESIZE_IPPSCALE_H

#include <FreeImage.h>

namespace DornImage {

// Bring a bitmap of 8, 24 or 32 bits to a size, each channel by itself, and store the new bitmap, which the
// caller unloads, in `*result`. One of 8 bits is interpolated by its indices and keeps its palette; nothing
// else but the pixels goes along.
//
// False, with `*result` as it was, for a null source, a side of 0, another depth, a size that the method
// refuses, or when memory runs out. No method stands in for another. Threads may call them side by side.

/// Cubic B-spline, from sources of 4 x 4 pixels on.
bool ippScaleCubic(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result);

/// Lanczos with 3 lobes, from sources of 6 x 6 pixels on.
bool ippScaleLanczos(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result);

/// Linear, from sources of 2 x 2 pixels on.
bool ippScaleLinear(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result);

/// The mean of the area that a pixel covers, to sizes that are not larger on either side.
bool ippScaleSuper(unsigned width, unsigned height, FIBITMAP* source, FIBITMAP** result);

} // namespace DornImage

#endif
