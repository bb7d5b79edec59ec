#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SMOOTHING_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SMOOTHING_H

#include "base/Export.h"

#include <FreeImage.h>

// Gaussian smoothing of 8-bit and 24-bit bitmaps with the primitives' filter; what lies beyond the edge is
// taken to be like the edge. `kernelSize` is odd and 3 or more, `sigma` is above 0 and in pixels. False,
// without a message, for any other depth, kernel or sigma, or when memory runs out.
//
// An 8-bit bitmap is filtered as plain numbers, whatever its palette says. Resolution and metadata go along;
// palette, background colour and transparency don't.

/// Smooths `src` into the bitmap `dst` of the same depth and size, which may be `src` itself. A refusal
/// leaves `dst` as it was; null answers false.
DORNIMAGE_API bool ippiSmoothGaussian(FIBITMAP* src, unsigned int kernelSize, float sigma, FIBITMAP* dst);

/// Smooths `src` into a new bitmap, which the caller unloads; one of 8 bits has a grey ramp palette. On false
/// `*dst` stays as it was.
DORNIMAGE_API bool ippiSmoothGaussian(FIBITMAP* src, unsigned int kernelSize, float sigma, FIBITMAP** dst);

#endif
