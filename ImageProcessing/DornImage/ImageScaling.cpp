#include "ImageProcessing/DornImage/Image.h"

#include "ImageProcessing/DornImage/GrayScale.h"
#include "ImageProcessing/DornImage/NewImage.h"
#include "ImageProcessing/DornImage/resize/IppScale.h"

#include <algorithm>
#include <limits>

namespace DornImage {

namespace {

constexpr unsigned longestSide = std::numeric_limits<int>::max();

bool isSide(unsigned pixels) {
    return pixels >= 1 && pixels <= longestSide;
}

// A side of a computed size, cut to whole pixels; 0 when no picture can have it.
unsigned sideOf(double pixels) {
    return pixels >= 1 && pixels < longestSide + 1.0 ? static_cast<unsigned>(pixels) : 0;
}

struct Method {
    bool (*resizer)(unsigned, unsigned, FIBITMAP*, FIBITMAP**); // null: FreeImage does it
    FREE_IMAGE_FILTER filter;                                   // for depths that no resizer takes
};

Method methodFor(Image::ScaleType type) {
    switch (type) {
    case Image::ScaleTypeLinear:
        return {ippScaleLinear, FILTER_BILINEAR};
    case Image::ScaleTypeCubic:
        return {ippScaleCubic, FILTER_BICUBIC};
    case Image::ScaleTypeLanczos:
        return {ippScaleLanczos, FILTER_LANCZOS3};
    }
    return {nullptr, FILTER_BILINEAR};
}

bool isResizerDepth(unsigned bitsPerPixel) {
    constexpr unsigned depths[] = {1, 4, 8, 16, 24, 32};
    return std::find(std::begin(depths), std::end(depths), bitsPerPixel) != std::end(depths);
}

bool hasGreysOnly(FIBITMAP* bitmap) {
    const RGBQUAD* const palette = ::FreeImage_GetPalette(bitmap);
    return palette && std::all_of(palette, palette + ::FreeImage_GetColorsUsed(bitmap), [](RGBQUAD entry) {
               return entry.rgbRed == entry.rgbGreen && entry.rgbGreen == entry.rgbBlue;
           });
}

// The picture in 8-bit brightness, 24-bit or 32-bit colour, so that a resizer never works on indices into
// colours: `bitmap` itself or a conversion that `converted` gets. Null when there is none.
FIBITMAP* workingBitmap(FIBITMAP* bitmap, FIBitmapPtr& converted) {
    switch (::FreeImage_GetBPP(bitmap)) {
    case 1:
    case 4:
        // One channel carries what three equal ones would.
        converted.attach(hasGreysOnly(bitmap) ? ::FreeImage_ConvertToGreyscale(bitmap)
                                              : ::FreeImage_ConvertTo24Bits(bitmap));
        return converted.get();
    case 8:
        if (FreeImage_IsGrayScale(bitmap)) {
            return bitmap;
        }
        [[fallthrough]];
    case 16:
        converted.attach(::FreeImage_ConvertTo24Bits(bitmap));
        return converted.get();
    default:
        return bitmap;
    }
}

// Dots per metre for a side of so many pixels, where the picture keeps its size on paper.
unsigned scaledResolution(unsigned dotsPerMetre, unsigned pixels, unsigned sourcePixels) {
    const double scaled = static_cast<double>(dotsPerMetre) * pixels / sourcePixels;
    return static_cast<unsigned>(std::min<double>(scaled, std::numeric_limits<unsigned>::max()));
}

} // namespace

bool Image::GetScaled(unsigned width, unsigned height, ScaleType type, Reference<Image>& result) {
    if (!bitmap || !isSide(width) || !isSide(height)) {
        return false;
    }
    const unsigned sourceWidth = GetWidth();
    const unsigned sourceHeight = GetHeight();
    const bool shrinking = width < sourceWidth && height < sourceHeight;
    const Method method = methodFor(type);
    FIBitmapPtr scaled;
    if (isResizerDepth(GetBpp())) {
        FIBitmapPtr converted;
        FIBITMAP* const working = workingBitmap(bitmap, converted);
        if (!working) {
            return false;
        }
        if (const auto resizer = shrinking ? ippScaleSuper : method.resizer) {
            FIBITMAP* made = nullptr;
            if (!resizer(width, height, working, &made)) {
                return false;
            }
            scaled.attach(made);
            if (GetBpp() == 1) {
                constexpr BYTE firstWhite = 128; // a bilevel picture stays one
                scaled.attach(::FreeImage_Threshold(scaled.get(), firstWhite));
                if (!scaled.get()) {
                    return false;
                }
            }
        }
    }
    if (!scaled.get()) {
        scaled.attach(
            ::FreeImage_Rescale(bitmap, static_cast<int>(width), static_cast<int>(height), method.filter));
    }
    // The resolution comes last: it is among what CloneMetadata copies.
    ::FreeImage_CloneMetadata(scaled.get(), bitmap);
    ::FreeImage_SetDotsPerMeterX(scaled.get(),
                                 scaledResolution(::FreeImage_GetDotsPerMeterX(bitmap), width, sourceWidth));
    ::FreeImage_SetDotsPerMeterY(
        scaled.get(), scaledResolution(::FreeImage_GetDotsPerMeterY(bitmap), height, sourceHeight));
    return storeNewImage(scaled.detach(), result);
}

bool Image::GetChangedResolution(unsigned dpi, Reference<Image>& result) {
    if (!bitmap || dpi == 0) {
        return false;
    }
    const unsigned dotsPerMetreX = ::FreeImage_GetDotsPerMeterX(bitmap);
    const unsigned dotsPerMetreY = ::FreeImage_GetDotsPerMeterY(bitmap);
    if (dotsPerMetreX == 0 || dotsPerMetreY == 0) {
        return false;
    }
    const double wanted = dpi * 100.0;
    const unsigned height = sideOf(wanted / (dotsPerMetreY * 2.54) * GetHeight());
    const unsigned width = sideOf(wanted / (dotsPerMetreX * 2.54) * GetWidth());
    return width != 0 && height != 0 && GetScaled(width, height, ScaleTypeCubic, result);
}

bool Image::GetZoomed(double zoom, Reference<Image>& result) {
    if (!bitmap) {
        return false;
    }
    const unsigned width = sideOf(GetWidth() * zoom / 100.0);
    const unsigned height = sideOf(GetHeight() * zoom / 100.0);
    // Computed in 32 bits: what wraps around below the limit is left to FreeImage.
    constexpr unsigned mostBytes = 0x40000000;
    const unsigned bytes = (GetBpp() + 7) / 8 * height * width;
    if (width == 0 || height == 0 || bytes > mostBytes) {
        return false;
    }
    const FREE_IMAGE_FILTER filter = width > GetWidth() ? FILTER_BILINEAR : FILTER_CATMULLROM;
    return storeNewImage(
        ::FreeImage_Rescale(bitmap, static_cast<int>(width), static_cast<int>(height), filter), result);
}

} // namespace DornImage
