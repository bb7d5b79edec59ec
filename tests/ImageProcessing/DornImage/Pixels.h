#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_PIXELS_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_PIXELS_H

#include "ImageProcessing/DornImage/Handles.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace dorntest {

/// Mean distance of two pictures' samples, in levels of 255 and after their palettes; 0 for two nulls,
/// infinite for different sizes or kinds of picture.
inline double meanDistance(FIBITMAP* one, FIBITMAP* other) {
    if (!one || !other || FreeImage_GetImageType(one) != FreeImage_GetImageType(other) ||
        FreeImage_GetWidth(one) != FreeImage_GetWidth(other) ||
        FreeImage_GetHeight(one) != FreeImage_GetHeight(other)) {
        return one == other ? 0 : std::numeric_limits<double>::infinity();
    }
    const bool floating = FreeImage_GetImageType(one) == FIT_RGBF;
    const DornImage::FIBitmapPtr first(floating ? FreeImage_Clone(one) : FreeImage_ConvertTo32Bits(one));
    const DornImage::FIBitmapPtr second(floating ? FreeImage_Clone(other) : FreeImage_ConvertTo32Bits(other));
    double sum = 0;
    const unsigned samples = FreeImage_GetLine(first.get()) / (floating ? 4 : 1);
    const int height = static_cast<int>(FreeImage_GetHeight(one));
    for (int y = 0; y < height; ++y) {
        const BYTE* const a = FreeImage_GetScanLine(first.get(), y);
        const BYTE* const b = FreeImage_GetScanLine(second.get(), y);
        for (unsigned i = 0; i < samples; ++i) {
            sum += floating ? 255.0 * std::abs(reinterpret_cast<const float*>(a)[i] -
                                               reinterpret_cast<const float*>(b)[i])
                            : std::abs(a[i] - b[i]);
        }
    }
    return sum / samples / height;
}

} // namespace dorntest

#endif
