#include "ImageProcessing/DornImage/RawPixels.h"

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "base/Velmora.h"
#include "primitives/convert/SwapRedBlue.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace DornImage {

namespace {

// Where swapRedBlue is called, a pixel of FreeImage's is blue, green, red.
static_assert(FI_RGBA_BLUE == 0 && FI_RGBA_GREEN == 1 && FI_RGBA_RED == 2);

constexpr unsigned monochromePalette = 6; // bytes of two triples
constexpr unsigned largestPalette = 768;

/// Scan line of row `row`, counted from the top.
BYTE* lineOfRow(FIBITMAP* bitmap, unsigned row) {
    return ::FreeImage_GetScanLine(bitmap, static_cast<int>(::FreeImage_GetHeight(bitmap) - 1 - row));
}

bool takesPixels(FIBITMAP* bitmap, unsigned depth, const char* data, unsigned long size) {
    return bitmap && data && size != 0 && ::FreeImage_HasPixels(bitmap) &&
           ::FreeImage_GetBPP(bitmap) == depth && ::FreeImage_GetHeight(bitmap) != 0;
}

std::uint64_t pixelCount(FIBITMAP* bitmap) {
    return std::uint64_t{::FreeImage_GetWidth(bitmap)} * ::FreeImage_GetHeight(bitmap);
}

void copyRows(FIBITMAP* bitmap, const char* data, std::size_t rowBytes) {
    for (unsigned row = 0; row < ::FreeImage_GetHeight(bitmap); ++row) {
        std::memcpy(lineOfRow(bitmap, row), data + row * rowBytes, rowBytes);
    }
}

/// Copies the bytes of 8-bit pixels out, rows from the top.
void copyBytesOut(FIBITMAP* bitmap, unsigned char* data) {
    const std::size_t width = ::FreeImage_GetWidth(bitmap);
    for (unsigned row = 0; row < ::FreeImage_GetHeight(bitmap); ++row) {
        std::memcpy(data + row * width, lineOfRow(bitmap, row), width);
    }
}

void copyColoursOut(FIBITMAP* bitmap, unsigned char* data) {
    const std::size_t width = ::FreeImage_GetWidth(bitmap);
    for (unsigned row = 0; row < ::FreeImage_GetHeight(bitmap); ++row) {
        primitives::swapRedBlue(lineOfRow(bitmap, row), data + row * width * 3, width);
    }
}

} // namespace

bool FreeImage_Copy1(FIBITMAP* bitmap, const char* data, unsigned long size) {
    if (!takesPixels(bitmap, 1, data, size)) {
        return false;
    }
    const unsigned long height = ::FreeImage_GetHeight(bitmap);
    if (size % height != 0 || size / height > ::FreeImage_GetPitch(bitmap)) {
        return false;
    }
    copyRows(bitmap, data, size / height);
    return true;
}

bool FreeImage_Copy8(FIBITMAP* bitmap, const char* data, unsigned long size) {
    if (!takesPixels(bitmap, 8, data, size) || size != pixelCount(bitmap)) {
        return false;
    }
    copyRows(bitmap, data, ::FreeImage_GetWidth(bitmap));
    return true;
}

bool FreeImage_Copy24RGB(FIBITMAP* bitmap, const char* data, unsigned long size) {
    if (!takesPixels(bitmap, 24, data, size) || size != pixelCount(bitmap) * 3) {
        return false;
    }
    const std::size_t width = ::FreeImage_GetWidth(bitmap);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(data);
    for (unsigned row = 0; row < ::FreeImage_GetHeight(bitmap); ++row) {
        primitives::swapRedBlue(bytes + row * width * 3, lineOfRow(bitmap, row), width);
    }
    return true;
}

bool FreeImage_GetDataForPDF(FIBITMAP* bitmap, unsigned char* data) {
    if (!bitmap || !data || !::FreeImage_HasPixels(bitmap)) {
        return false;
    }
    switch (::FreeImage_GetBPP(bitmap)) {
    case 1: {
        const FIBitmapPtr grey(::FreeImage_ConvertTo8Bits(bitmap));
        if (!grey.get()) {
            return false;
        }
        copyBytesOut(grey.get(), data);
        return true;
    }
    case 8:
        copyBytesOut(bitmap, data);
        return true;
    case 24:
        copyColoursOut(bitmap, data);
        return true;
    default:
        return false;
    }
}

bool FreeImage_SetMonoChromePalete(FIBITMAP* source, FIBITMAP* target) {
    constexpr RGBQUAD white{0xFF, 0xFF, 0xFF, 0};
    constexpr RGBQUAD black{0, 0, 0, 0};
    RGBQUAD* const colours = target ? ::FreeImage_GetPalette(target) : nullptr;
    if (!colours || ::FreeImage_GetColorsUsed(target) < 2 || !source) {
        return false;
    }
    switch (::FreeImage_GetColorType(source)) {
    case FIC_MINISWHITE:
        colours[0] = white;
        colours[1] = black;
        return true;
    case FIC_MINISBLACK:
        colours[0] = black;
        colours[1] = white;
        return true;
    case FIC_PALETTE: {
        const RGBQUAD* const palette = ::FreeImage_GetPalette(source);
        if (!palette || ::FreeImage_GetColorsUsed(source) < 2) {
            return false;
        }
        colours[0] = palette[0];
        colours[1] = palette[1];
        return true;
    }
    default:
        return false;
    }
}

bool FreeImage_SetPalette24(FIBITMAP* bitmap, const unsigned char* palette, unsigned long size) {
    if (!bitmap || !palette || size == 0 || size % 3 != 0) {
        return false;
    }
    const unsigned depth = ::FreeImage_GetBPP(bitmap);
    RGBQUAD* const colours = ::FreeImage_GetPalette(bitmap);
    if ((depth != 1 && depth != 8) || !colours || size > (depth == 1 ? monochromePalette : largestPalette) ||
        size / 3 > ::FreeImage_GetColorsUsed(bitmap)) {
        return false;
    }
    for (unsigned long i = 0; i < size / 3; ++i) {
        colours[i].rgbRed = palette[3 * i];
        colours[i].rgbGreen = palette[3 * i + 1];
        colours[i].rgbBlue = palette[3 * i + 2];
    }
    return true;
}

} // namespace DornImage

bool ippSave8u(unsigned char* data, int step, IppiSize size, const wchar_t* path) {
    if (!data || !path || size.width <= 0 || size.height <= 0) {
        return false;
    }
    const DornImage::FIBitmapPtr bitmap(::FreeImage_Allocate(size.width, size.height, 8));
    if (!bitmap.get()) {
        return false;
    }
    BYTE* const bits = ::FreeImage_GetBits(bitmap.get());
    const std::size_t pitch = ::FreeImage_GetPitch(bitmap.get());
    for (int i = 0; i < size.height; ++i) {
        std::memcpy(bits + static_cast<std::size_t>(i) * pitch, data + static_cast<std::ptrdiff_t>(i) * step,
                    static_cast<std::size_t>(size.width));
    }
    Velmora::u8string fileName;
    Velmora::c_u16u8(fileName, path);
    return DornImage::saveNamedFile(FIF_JPEG, bitmap.get(), fileName, JPEG_DEFAULT);
}
