// Device contexts that draw into bitmaps in memory, and palettes.

#include "platform/GdiObjects.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace {

using dornplatform::BitmapObject;
using dornplatform::ContextObject;
using dornplatform::DibLayout;
using dornplatform::PaletteObject;

constexpr PALETTEENTRY defaultColours[] = {
    {0, 0, 0, 0},       {128, 0, 0, 0},     {0, 128, 0, 0},     {128, 128, 0, 0},   {0, 0, 128, 0},
    {128, 0, 128, 0},   {0, 128, 128, 0},   {192, 192, 192, 0}, {192, 220, 192, 0}, {166, 202, 240, 0},
    {255, 251, 240, 0}, {160, 160, 164, 0}, {128, 128, 128, 0}, {255, 0, 0, 0},     {0, 255, 0, 0},
    {255, 255, 0, 0},   {0, 0, 255, 0},     {255, 0, 255, 0},   {0, 255, 255, 0},   {255, 255, 255, 0},
};

HPALETTE addPalette(const PALETTEENTRY* first, std::size_t count) {
    const auto palette = std::make_shared<PaletteObject>();
    palette->entries.assign(first, first + count);
    return static_cast<HPALETTE>(dornplatform::addObject(palette));
}

HPALETTE defaultPalette() {
    static const HPALETTE palette = addPalette(defaultColours, std::size(defaultColours));
    return palette;
}

/* What a context draws into before a bitmap is selected. */
HBITMAP defaultBitmap() {
    static const HBITMAP bitmap = [] {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = 1;
        info.bmiHeader.biHeight = 1;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, nullptr, nullptr, 0);
    }();
    return bitmap;
}

/* The part of `count` places, beginning at `from` in one range and at `to` in another, that lies in both. */
struct Overlap {
    Overlap(std::int64_t from, std::int64_t fromSize, std::int64_t to, std::int64_t toSize, std::int64_t size)
        : first(std::max({std::int64_t{0}, -from, -to})),
          end(std::min({size, fromSize - from, toSize - to})) {}

    std::int64_t first;
    std::int64_t end;
};

} // namespace

namespace dornplatform {

HDC addContext(HBITMAP bitmapHandle) {
    const auto context = std::make_shared<ContextObject>();
    context->bitmapHandle = bitmapHandle;
    context->bitmap = findObject<BitmapObject>(bitmapHandle);
    context->paletteHandle = defaultPalette();
    context->palette = findObject<PaletteObject>(context->paletteHandle);
    return context->bitmap ? static_cast<HDC>(addObject(context)) : nullptr;
}

HDC createSurfaceContext(void* pixels, LONG width, LONG height, std::size_t stride) {
    if (!pixels || width <= 0 || height <= 0 || stride < dibStride(static_cast<std::uint64_t>(width), 32)) {
        return nullptr;
    }
    const auto bitmap = std::make_shared<BitmapObject>();
    bitmap->layout.format = plainFormat(32);
    bitmap->layout.width = width;
    bitmap->layout.height = height;
    bitmap->layout.topDown = true;
    bitmap->layout.stride = stride;
    bitmap->layout.bytes = std::uint64_t{stride} * static_cast<std::uint64_t>(height);
    bitmap->pixels = static_cast<BYTE*>(pixels);
    const auto handle = static_cast<HBITMAP>(addObject(bitmap));
    const HDC context = addContext(handle);
    removeObject(handle); // the context holds it
    return context;
}

} // namespace dornplatform

HDC CreateCompatibleDC(HDC) {
    return dornplatform::addContext(defaultBitmap());
}

BOOL DeleteDC(HDC dc) {
    return dornplatform::findObject<ContextObject>(dc) && dornplatform::removeObject(dc) ? TRUE : FALSE;
}

HDC GetDC(HWND) {
    return CreateCompatibleDC(nullptr);
}

int ReleaseDC(HWND, HDC dc) {
    return DeleteDC(dc);
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
    const auto context = dornplatform::findObject<ContextObject>(dc);
    const auto bitmap = dornplatform::findObject<BitmapObject>(handle);
    if (!context || !bitmap) {
        return nullptr;
    }
    const HGDIOBJ before = context->bitmapHandle;
    context->bitmapHandle = static_cast<HBITMAP>(handle);
    context->bitmap = bitmap;
    return before;
}

BOOL DeleteObject(HGDIOBJ object) {
    const auto found = dornplatform::findObject(object);
    if (!found || std::dynamic_pointer_cast<ContextObject>(found)) {
        return FALSE;
    }
    if (object != defaultPalette() && object != defaultBitmap()) {
        dornplatform::removeObject(object);
    }
    return TRUE;
}

HPALETTE CreatePalette(const LOGPALETTE* palette) {
    if (!palette || palette->palVersion != 0x300 || palette->palNumEntries == 0) {
        return nullptr;
    }
    return addPalette(palette->palPalEntry, palette->palNumEntries);
}

UINT GetPaletteEntries(HPALETTE handle, UINT start, UINT count, PALETTEENTRY* entries) {
    const auto palette = dornplatform::findObject<PaletteObject>(handle);
    if (!palette) {
        return 0;
    }
    const auto size = static_cast<UINT>(palette->entries.size());
    if (!entries) {
        return size;
    }
    const UINT copied = start < size ? std::min(count, size - start) : 0;
    std::copy_n(palette->entries.begin() + (copied > 0 ? start : 0), copied, entries);
    return copied;
}

HGDIOBJ GetStockObject(int object) {
    return object == DEFAULT_PALETTE ? defaultPalette() : nullptr;
}

HPALETTE SelectPalette(HDC dc, HPALETTE handle, BOOL) {
    const auto context = dornplatform::findObject<ContextObject>(dc);
    const auto palette = dornplatform::findObject<PaletteObject>(handle);
    if (!context || !palette) {
        return nullptr;
    }
    const HPALETTE before = context->paletteHandle;
    context->paletteHandle = handle;
    context->palette = palette;
    return before;
}

UINT RealizePalette(HDC dc) {
    const auto context = dornplatform::findObject<ContextObject>(dc);
    return context ? static_cast<UINT>(context->palette->entries.size()) : 0;
}

UINT GetDIBColorTable(HDC dc, UINT start, UINT count, RGBQUAD* colours) {
    const auto context = dornplatform::findObject<ContextObject>(dc);
    if (!context || !colours) {
        return 0;
    }
    const UINT size = context->bitmap->layout.format.colours();
    const UINT copied = start < size ? std::min(count, size - start) : 0;
    std::copy_n(context->bitmap->colours.begin() + (copied > 0 ? start : 0), copied, colours);
    return copied;
}

int SetDIBitsToDevice(HDC dc, int xTarget, int yTarget, DWORD width, DWORD height, int xSource, int ySource,
                      UINT startScan, UINT lines, const void* bits, const BITMAPINFO* info, UINT usage) {
    const auto context = dornplatform::findObject<ContextObject>(dc);
    DibLayout layout;
    if (!context || !bits || !info || usage != DIB_RGB_COLORS ||
        !dornplatform::readLayout(info->bmiHeader, layout)) {
        return 0;
    }
    const auto total = static_cast<UINT>(layout.height);
    if (startScan >= total) {
        return 0;
    }
    lines = std::min(lines, total - startScan);
    dornplatform::ColourTable colours{};
    if (layout.format.isIndexed()) {
        dornplatform::readColourTable(*info, layout.format.bits, colours);
    }
    const BitmapObject& surface = *context->bitmap;
    const dornplatform::RowCopy copy{layout.format, &colours, surface.layout.format, &surface.colours};

    // The source in lines from the top of the band that was given.
    const std::int64_t given = lines;
    const std::int64_t top = layout.topDown ? std::int64_t{ySource} - startScan
                                            : startScan + given - (std::int64_t{ySource} + height);
    const Overlap x(xSource, layout.width, xTarget, surface.layout.width, width);
    const Overlap y(top, given, yTarget, surface.layout.height, height);
    if (x.first >= x.end) {
        return static_cast<int>(lines);
    }
    for (std::int64_t i = y.first; i < y.end; ++i) {
        const std::int64_t line = top + i;
        const std::int64_t row = layout.topDown ? line : given - 1 - line;
        copy(static_cast<const BYTE*>(bits) + static_cast<std::size_t>(row) * layout.stride,
             static_cast<std::size_t>(xSource + x.first), surface.row(static_cast<LONG>(yTarget + i)),
             static_cast<std::size_t>(xTarget + x.first), static_cast<std::size_t>(x.end - x.first));
    }
    return static_cast<int>(lines);
}
