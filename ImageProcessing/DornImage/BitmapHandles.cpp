// Between FreeImage bitmaps and the desktop system's bitmap handles.

#include "ImageProcessing/DornImage/Dib.h"
#include "ImageProcessing/DornImage/DibHeader.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"
#include "platform/GdiCalls.h"
#include "platform/GlobalMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace DornImage {

namespace {

constexpr LONG defaultDotsPerMetre = 2835;

HBITMAP makeBitmapHandle(FIBITMAP* bitmap, HDC dc) {
    if (!bitmap || !::FreeImage_HasPixels(bitmap)) {
        return nullptr;
    }
    void* bits = nullptr;
    const HBITMAP handle =
        ::CreateDIBSection(dc, ::FreeImage_GetInfo(bitmap), DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!handle || !bits) {
        return nullptr;
    }
    // The rows of a bitmap around memory of somebody else's may be longer than the handle's.
    const std::size_t pitch = ::FreeImage_GetPitch(bitmap);
    const std::size_t rowBytes = getDibRowBytes(::FreeImage_GetWidth(bitmap), ::FreeImage_GetBPP(bitmap));
    const std::size_t copied = std::min(pitch, rowBytes);
    const BYTE* const from = ::FreeImage_GetBits(bitmap);
    for (std::size_t y = 0; y < ::FreeImage_GetHeight(bitmap); ++y) {
        std::memcpy(static_cast<BYTE*>(bits) + y * rowBytes, from + y * pitch, copied);
    }
    return handle;
}

void copyColourTable(HBITMAP handle, HDC dc, UINT count, RGBQUAD* palette) {
    const HDC memory = ::CreateCompatibleDC(dc);
    const HGDIOBJ before = ::SelectObject(memory, handle);
    ::GetDIBColorTable(memory, 0, count, palette);
    ::SelectObject(memory, before);
    ::DeleteDC(memory);
}

} // namespace

FIBITMAP* FreeImage_ConvertFromHBITMAP(HBITMAP bitmap, HDC dc) {
    BITMAP record{};
    if (!bitmap || ::GetObjectW(bitmap, static_cast<int>(sizeof record), &record) == 0) {
        return nullptr;
    }
    FIBitmapPtr result(::FreeImage_Allocate(record.bmWidth, record.bmHeight, record.bmBitsPixel, 0, 0, 0));
    if (!result.get()) {
        return nullptr;
    }
    BITMAPINFO* const info = ::FreeImage_GetInfo(result.get());
    BITMAPINFOHEADER& header = info->bmiHeader;
    const DWORD coloursUsed = header.biClrUsed;
    const DWORD coloursImportant = header.biClrImportant;
    for (LONG* const dots : {&header.biXPelsPerMeter, &header.biYPelsPerMeter}) {
        *dots = *dots == 0 ? defaultDotsPerMetre : *dots;
    }
    ::GetDIBits(dc, bitmap, 0, ::FreeImage_GetHeight(result.get()), ::FreeImage_GetBits(result.get()), info,
                DIB_RGB_COLORS);
    header.biClrUsed = coloursUsed;
    header.biClrImportant = coloursImportant;
    if (coloursUsed >= 1) {
        copyColourTable(bitmap, dc, coloursUsed, ::FreeImage_GetPalette(result.get()));
    }
    return result.detach();
}

HBITMAP FreeImage_ConvertToHBITMAP(FIBITMAP* bitmap, HDC dc) {
    return makeBitmapHandle(bitmap, dc);
}

HBITMAP Image::GetHBITMAP(HDC dc) {
    return makeBitmapHandle(bitmap, dc);
}

namespace {

/// The screen's context with a palette selected and realised, for as long as this object lives.
class ScreenContext {
public:
    explicit ScreenContext(HPALETTE palette)
        : dc_(::GetDC(nullptr)), before_(::SelectPalette(dc_, palette, FALSE)) {
        ::RealizePalette(dc_);
    }
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;
    ~ScreenContext() {
        ::SelectPalette(dc_, before_, TRUE);
        ::RealizePalette(dc_);
        ::ReleaseDC(nullptr, dc_);
    }

    HDC get() const { return dc_; }

private:
    HDC dc_;
    HPALETTE before_;
};

/// The next depth that the system has, at most 24.
WORD standardDepth(WORD depth) {
    if (depth < 2) {
        return 1;
    }
    if (depth <= 4) {
        return 4;
    }
    return depth <= 8 ? 8 : 24;
}

/// Bytes of header and colours of a block at whose start an info header stands.
std::size_t frontBytes(BITMAPINFOHEADER& header) {
    const DibBlock dib{reinterpret_cast<BYTE*>(&header), sizeof header};
    return sizeof header + getDibColourTableSize(dib);
}

/// Lets the system fill in the header, and the colours behind it, in the block. False when it can't.
bool describeBitmap(HBITMAP bitmap, HDC dc, HGLOBAL memory, BITMAPINFOHEADER& header) {
    void* const block = ::GlobalLock(memory);
    if (!block) {
        return false;
    }
    std::memcpy(block, &header, sizeof header);
    ::GetDIBits(dc, bitmap, 0, static_cast<UINT>(header.biHeight), nullptr, static_cast<BITMAPINFO*>(block),
                DIB_RGB_COLORS);
    std::memcpy(&header, block, sizeof header);
    ::GlobalUnlock(memory);
    if (header.biSizeImage == 0) {
        const std::uint64_t words =
            (std::uint64_t{header.biBitCount} * static_cast<DWORD>(header.biWidth) + 31) >> 5;
        const std::uint64_t bytes = words * static_cast<DWORD>(header.biHeight) * 4;
        if (bytes > std::numeric_limits<DWORD>::max()) {
            return false;
        }
        header.biSizeImage = static_cast<DWORD>(bytes);
    }
    return true;
}

HGLOBAL makeDib(HBITMAP bitmap, HDC dc, BITMAPINFOHEADER& header) {
    const HGLOBAL memory = ::GlobalAlloc(GHND, frontBytes(header));
    if (!memory) {
        return nullptr;
    }
    HGLOBAL whole = nullptr;
    if (describeBitmap(bitmap, dc, memory, header)) {
        whole = ::GlobalReAlloc(memory, frontBytes(header) + header.biSizeImage, 0);
    }
    if (!whole) {
        ::GlobalFree(memory);
        return nullptr;
    }
    int lines = 0;
    if (BYTE* const block = static_cast<BYTE*>(::GlobalLock(whole))) {
        lines = ::GetDIBits(dc, bitmap, 0, static_cast<UINT>(header.biHeight), block + frontBytes(header),
                            reinterpret_cast<BITMAPINFO*>(block), DIB_RGB_COLORS);
        ::GlobalUnlock(whole);
    }
    // When the system refuses pixels that it has described, the block is given up and not freed.
    return lines != 0 ? whole : nullptr;
}

} // namespace

} // namespace DornImage

void* BitmapToDIB(HBITMAP bitmap, HPALETTE palette) {
    BITMAP record{};
    if (!bitmap || ::GetObjectW(bitmap, static_cast<int>(sizeof record), &record) == 0) {
        return nullptr;
    }
    if (!palette) {
        palette = static_cast<HPALETTE>(::GetStockObject(DEFAULT_PALETTE));
    }
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = record.bmWidth;
    header.biHeight = record.bmHeight;
    header.biPlanes = 1;
    header.biBitCount = DornImage::standardDepth(static_cast<WORD>(record.bmPlanes * record.bmBitsPixel));
    header.biCompression = BI_RGB;
    const DornImage::ScreenContext screen(palette);
    return DornImage::makeDib(bitmap, screen.get(), header);
}
