#include "ImageProcessing/DornImage/GrayScale.h"

namespace DornImage {

bool FreeImage_IsGrayScale(FIBITMAP* bitmap) {
    if (!bitmap || ::FreeImage_GetBPP(bitmap) != 8) {
        return false;
    }
    const RGBQUAD* palette = ::FreeImage_GetPalette(bitmap);
    if (!palette) {
        return true;
    }
    for (unsigned i = 0; i < 256; ++i) {
        if (palette[i].rgbBlue != i || palette[i].rgbGreen != i || palette[i].rgbRed != i) {
            return false;
        }
    }
    return true;
}

} // namespace DornImage
