#ifndef DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_DIBBLOCKS_H
#define DORNIMAGE_TESTS_IMAGEPROCESSING_DORNIMAGE_DIBBLOCKS_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstring>
#include <random>
#include <vector>

namespace dorntest {

using Bytes = std::vector<BYTE>;

/// A bitmap of noise, its palette, if it has one, too.
inline FIBITMAP* makeNoise(int width, int height, int depth, unsigned seed) {
    std::mt19937 random(seed);
    FIBITMAP* const bitmap = FreeImage_Allocate(width, height, depth);
    const unsigned line = FreeImage_GetLine(bitmap);
    for (int y = 0; y < height; ++y) {
        for (unsigned i = 0; i < line; ++i) {
            FreeImage_GetScanLine(bitmap, y)[i] = static_cast<BYTE>(random());
        }
    }
    for (unsigned i = 0; i < FreeImage_GetColorsUsed(bitmap); ++i) {
        FreeImage_GetPalette(bitmap)[i] = {static_cast<BYTE>(random()), static_cast<BYTE>(random()),
                                           static_cast<BYTE>(random()), 0};
    }
    FreeImage_SetDotsPerMeterX(bitmap, 1000 + seed);
    FreeImage_SetDotsPerMeterY(bitmap, 2000 + seed);
    return bitmap;
}

template <typename Number>
void put(Bytes& block, std::size_t place, Number number) {
    std::memcpy(block.data() + place, &number, sizeof number);
}

/// The bitmap as a block with a header of 40 bytes.
inline Bytes toBlock(FIBITMAP* bitmap, bool topDown) {
    const std::size_t pitch = FreeImage_GetPitch(bitmap);
    const std::size_t height = FreeImage_GetHeight(bitmap);
    const std::size_t table = FreeImage_GetColorsUsed(bitmap) * sizeof(RGBQUAD);
    Bytes block(40 + table + pitch * height);
    BITMAPINFOHEADER header = *FreeImage_GetInfoHeader(bitmap);
    header.biCompression = BI_RGB;
    header.biHeight *= topDown ? -1 : 1;
    std::memcpy(block.data(), &header, sizeof header);
    if (table > 0) {
        std::memcpy(block.data() + 40, FreeImage_GetPalette(bitmap), table);
    }
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t line = topDown ? height - 1 - y : y;
        std::memcpy(block.data() + 40 + table + y * pitch,
                    FreeImage_GetScanLine(bitmap, static_cast<int>(line)), pitch);
    }
    return block;
}

/// FreeImage_ConvertFromDIB of a copy of the block.
inline FIBITMAP* convertBlock(const Bytes& block) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, block.size());
    if (!block.empty()) {
        std::memcpy(GlobalLock(memory), block.data(), block.size());
        GlobalUnlock(memory);
    }
    FIBITMAP* const bitmap = DornImage::FreeImage_ConvertFromDIB(memory);
    GlobalFree(memory);
    return bitmap;
}

/// Whether both have the same size, depth, palette and pixels, bit for bit.
inline bool sameBitmap(FIBITMAP* one, FIBITMAP* other) {
    if (!one || !other || FreeImage_GetWidth(one) != FreeImage_GetWidth(other) ||
        FreeImage_GetHeight(one) != FreeImage_GetHeight(other) ||
        FreeImage_GetBPP(one) != FreeImage_GetBPP(other) ||
        FreeImage_GetColorsUsed(one) != FreeImage_GetColorsUsed(other)) {
        return false;
    }
    for (unsigned i = 0; i < FreeImage_GetColorsUsed(one); ++i) {
        if (std::memcmp(&FreeImage_GetPalette(one)[i], &FreeImage_GetPalette(other)[i], 3) != 0) {
            return false;
        }
    }
    const std::size_t bits = std::size_t{FreeImage_GetWidth(one)} * FreeImage_GetBPP(one);
    for (unsigned y = 0; y < FreeImage_GetHeight(one); ++y) {
        const BYTE* const a = FreeImage_GetScanLine(one, static_cast<int>(y));
        const BYTE* const b = FreeImage_GetScanLine(other, static_cast<int>(y));
        const unsigned rest = bits % 8;
        if (std::memcmp(a, b, bits / 8) != 0 || (rest && ((a[bits / 8] ^ b[bits / 8]) >> (8 - rest)) != 0)) {
            return false;
        }
    }
    return true;
}

} // namespace dorntest

#endif
