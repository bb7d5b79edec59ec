// Bitmap handles: pictures in memory in the form of device-independent bitmaps.

#include "platform/GdiObjects.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

using dornplatform::BitmapObject;
using dornplatform::ColourTable;
using dornplatform::DibLayout;
using dornplatform::PaletteObject;
using dornplatform::PixelFormat;

/* What a caller finds behind the header: the colours of the bitmap, or its masks. */
void writeColours(const BitmapObject& bitmap, const PixelFormat& format, BITMAPINFO& info) {
    BYTE* const behind = reinterpret_cast<BYTE*>(&info) + info.bmiHeader.biSize;
    if (format.isIndexed()) {
        std::memcpy(behind, bitmap.colours.data(), format.colours() * sizeof(RGBQUAD));
    } else if (info.bmiHeader.biCompression == BI_BITFIELDS) {
        std::memcpy(reinterpret_cast<BYTE*>(&info) + sizeof(BITMAPINFOHEADER), format.masks.data(),
                    sizeof format.masks);
    }
}

/* Tells the bitmap's own format in the header. */
void describe(const BitmapObject& bitmap, BITMAPINFOHEADER& header) {
    const PixelFormat& format = bitmap.layout.format;
    header.biWidth = bitmap.layout.width;
    header.biHeight = bitmap.layout.height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(format.bits);
    header.biCompression = format == dornplatform::plainFormat(format.bits) ? BI_RGB : BI_BITFIELDS;
    header.biSizeImage = static_cast<DWORD>(bitmap.layout.bytes);
    header.biClrUsed = 0;
    header.biClrImportant = 0;
}

void copyLines(const BitmapObject& bitmap, const DibLayout& layout, LONG start, LONG lines, BYTE* bits) {
    const dornplatform::RowCopy copy{bitmap.layout.format, &bitmap.colours, layout.format, &bitmap.colours};
    const auto width = static_cast<std::size_t>(std::min(bitmap.layout.width, layout.width));
    for (LONG i = 0; i < lines; ++i) {
        const LONG line = start + i;
        const LONG fromTop = layout.topDown ? line : bitmap.layout.height - 1 - line;
        copy(bitmap.row(fromTop), 0, bits + static_cast<std::size_t>(i) * layout.stride, 0, width);
    }
}

} // namespace

HBITMAP CreateDIBSection(HDC, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section, DWORD) {
    const auto bitmap = std::make_shared<BitmapObject>();
    DibLayout& layout = bitmap->layout;
    if (!info || usage != DIB_RGB_COLORS || section || !dornplatform::readLayout(info->bmiHeader, layout) ||
        layout.bytes > std::numeric_limits<DWORD>::max()) {
        return nullptr;
    }
    bitmap->own.reset(new (std::nothrow) BYTE[layout.bytes]());
    if (!bitmap->own) {
        return nullptr;
    }
    bitmap->pixels = bitmap->own.get();
    if (layout.format.isIndexed()) {
        dornplatform::readColourTable(*info, layout.format.bits, bitmap->colours);
    }
    if (bits) {
        *bits = bitmap->pixels;
    }
    return static_cast<HBITMAP>(dornplatform::addObject(bitmap));
}

int GetObjectW(HGDIOBJ handle, int size, void* object) {
    const auto found = dornplatform::findObject(handle);
    const auto store = [size, object](const auto& record) {
        const int bytes = static_cast<int>(sizeof record);
        if (object) {
            if (size < bytes) {
                return 0;
            }
            std::memcpy(object, &record, sizeof record);
        }
        return bytes;
    };
    if (const auto* const bitmap = dynamic_cast<const BitmapObject*>(found.get())) {
        const DibLayout& layout = bitmap->layout;
        return store(BITMAP{0, layout.width, layout.height, static_cast<LONG>(layout.stride), 1,
                            static_cast<WORD>(layout.format.bits), bitmap->pixels});
    }
    if (const auto* const palette = dynamic_cast<const PaletteObject*>(found.get())) {
        return store(static_cast<WORD>(palette->entries.size()));
    }
    return 0;
}

int GetDIBits(HDC, HBITMAP handle, UINT start, UINT lines, void* bits, BITMAPINFO* info, UINT usage) {
    const auto bitmap = dornplatform::findObject<BitmapObject>(handle);
    if (!bitmap || !info || usage != DIB_RGB_COLORS || info->bmiHeader.biSize < sizeof(BITMAPINFOHEADER)) {
        return 0;
    }
    if (!bits && info->bmiHeader.biBitCount == 0) {
        describe(*bitmap, info->bmiHeader);
        return 1;
    }
    const PixelFormat& own = bitmap->layout.format;
    DibLayout layout;
    // Masks are told by this call, so that those that are there don't matter.
    BITMAPINFOHEADER plain = info->bmiHeader;
    plain.biCompression = BI_RGB;
    const DWORD compression = info->bmiHeader.biCompression;
    if (!dornplatform::readLayout(plain, layout) || layout.bytes > std::numeric_limits<DWORD>::max() ||
        (compression != BI_RGB &&
         (compression != BI_BITFIELDS || layout.format.isIndexed() || layout.format.bits == 24)) ||
        (layout.format.isIndexed() && layout.format.bits != own.bits)) {
        return 0;
    }
    if (compression == BI_BITFIELDS && layout.format.bits == own.bits) {
        layout.format = own;
    }
    const auto height = static_cast<UINT>(std::min(layout.height, bitmap->layout.height));
    if (bits) {
        lines = start < height ? std::min(lines, height - start) : 0;
        copyLines(*bitmap, layout, static_cast<LONG>(start), static_cast<LONG>(lines),
                  static_cast<BYTE*>(bits));
    }
    info->bmiHeader.biSizeImage = static_cast<DWORD>(layout.bytes);
    info->bmiHeader.biClrUsed = 0;
    info->bmiHeader.biClrImportant = 0;
    writeColours(*bitmap, layout.format, *info);
    return bits ? static_cast<int>(lines) : 1;
}
