#include "OnWhite.h"

#include "ImageProcessing/DornImage/DornImage.h"

// FreeImage_Composite doesn't round: it makes grey of clear white.
FIBITMAP* onWhite(FIBITMAP* bitmap) {
    const DornImage::FIBitmapPtr clear(FreeImage_ConvertTo32Bits(bitmap));
    FIBITMAP* const result = clear.get() ? FreeImage_ConvertTo24Bits(clear.get()) : nullptr;
    for (unsigned y = 0; result && y < FreeImage_GetHeight(result); ++y) {
        const BYTE* from = FreeImage_GetScanLine(clear.get(), static_cast<int>(y));
        BYTE* to = FreeImage_GetScanLine(result, static_cast<int>(y));
        for (unsigned x = 0; x < FreeImage_GetWidth(result); ++x, from += 4) {
            const unsigned alpha = from[FI_RGBA_ALPHA];
            for (int channel = 0; channel < 3; ++channel) {
                const unsigned sum = from[channel] * alpha + 255 * (255 - alpha);
                *to++ = static_cast<BYTE>((sum + 127) / 255);
            }
        }
    }
    return result;
}
