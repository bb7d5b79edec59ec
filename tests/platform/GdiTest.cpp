#include "platform/GdiCalls.h"
#include "platform/GlobalMemory.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

/// A header with room for a full colour table or masks behind it.
struct Info {
    BITMAPINFOHEADER header{};
    RGBQUAD colours[256]{};

    Info(LONG width, LONG height, WORD bits) {
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = bits;
    }
    BITMAPINFO* get() { return reinterpret_cast<BITMAPINFO*>(this); }
};

TEST(GlobalMemory, BlocksBehindHandles) {
    const HGLOBAL moveable = GlobalAlloc(GHND, 3);
    auto* bytes = static_cast<unsigned char*>(GlobalLock(moveable));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(bytes[2], 0);
    bytes[2] = 9;
    EXPECT_EQ(GlobalReAlloc(moveable, 100, GMEM_ZEROINIT), nullptr); // locked
    EXPECT_FALSE(GlobalUnlock(moveable));
    ASSERT_EQ(GlobalReAlloc(moveable, 100, GMEM_ZEROINIT), moveable);
    EXPECT_EQ(GlobalSize(moveable), 100u);
    bytes = static_cast<unsigned char*>(GlobalLock(moveable));
    EXPECT_EQ(bytes[2], 9);
    EXPECT_EQ(bytes[99], 0);
    EXPECT_EQ(GlobalFree(moveable), nullptr);
    EXPECT_EQ(GlobalFree(moveable), moveable);
    EXPECT_EQ(GlobalLock(moveable), nullptr);
    EXPECT_EQ(GlobalSize(moveable), 0u);

    const HGLOBAL fixed = GlobalAlloc(GMEM_FIXED, 0);
    EXPECT_EQ(GlobalLock(fixed), fixed);
    EXPECT_EQ(GlobalReAlloc(fixed, 10, 0), nullptr);
    const HGLOBAL moved = GlobalReAlloc(fixed, 10, GMEM_MOVEABLE);
    ASSERT_NE(moved, nullptr);
    EXPECT_EQ(GlobalSize(moved), 10u);
    EXPECT_EQ(GlobalFree(moved), nullptr);
}

TEST(Gdi, BitmapsConvertTheirPixels) {
    const DWORD masks[] = {0xF800, 0x07E0, 0x001F};
    Info source(3, -1, 16);
    source.header.biCompression = BI_BITFIELDS;
    std::memcpy(source.colours, masks, sizeof masks);
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, source.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
    ASSERT_NE(bitmap, nullptr);
    const WORD pixels[] = {0xF800, 0x8410, 0x001F};
    std::memcpy(bits, pixels, sizeof pixels);
    BITMAP record{};
    EXPECT_EQ(GetObjectW(bitmap, sizeof record, &record), 32);
    EXPECT_EQ(record.bmWidthBytes, 8);

    Info own(0, 0, 0);
    EXPECT_EQ(GetDIBits(nullptr, bitmap, 0, 1, nullptr, own.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(own.header.biBitCount, 16);
    EXPECT_EQ(own.header.biCompression, BI_BITFIELDS);

    unsigned char out[12] = {};
    Info triples(3, 1, 24);
    EXPECT_EQ(GetDIBits(nullptr, bitmap, 0, 9, out, triples.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(std::memcmp(out, "\x00\x00\xFF\x84\x82\x84\xFF\x00\x00", 9), 0);
    EXPECT_EQ(triples.header.biSizeImage, 12u);
    Info fives(3, 1, 16);
    EXPECT_EQ(GetDIBits(nullptr, bitmap, 0, 1, out, fives.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(std::memcmp(out, "\x00\x7C\x10\x42\x1F\x00", 6), 0);
    Info indexed(3, 1, 8);
    EXPECT_EQ(GetDIBits(nullptr, bitmap, 0, 1, out, indexed.get(), DIB_RGB_COLORS), 0);
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_EQ(GetObjectW(bitmap, sizeof record, &record), 0);
}

TEST(Gdi, RefusesHeadersThatItHasNoFormatFor) {
    for (const LONG width : {0, -4}) {
        EXPECT_EQ(CreateDIBSection(nullptr, Info(width, 4, 8).get(), DIB_RGB_COLORS, nullptr, nullptr, 0),
                  nullptr);
    }
    for (const int bits : {0, 2, 15, 48}) {
        EXPECT_EQ(CreateDIBSection(nullptr, Info(4, 4, static_cast<WORD>(bits)).get(), DIB_RGB_COLORS,
                                   nullptr, nullptr, 0),
                  nullptr);
    }
    Info compressed(4, 4, 8);
    compressed.header.biCompression = 1;
    EXPECT_EQ(CreateDIBSection(nullptr, compressed.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(CreateDIBSection(nullptr, Info(0x7FFFFFFF, 0x7FFFFFFF, 32).get(), 0, nullptr, nullptr, 0),
              nullptr);
    Info gap(4, 4, 16);
    gap.header.biCompression = BI_BITFIELDS;
    gap.colours[0].rgbBlue = 5; // red has two bits with one between
    gap.colours[1].rgbBlue = gap.colours[2].rgbBlue = 1;
    EXPECT_EQ(CreateDIBSection(nullptr, gap.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
}

TEST(Gdi, PalettesAndColourTables) {
    const HDC dc = CreateCompatibleDC(nullptr);
    const LOGPALETTE one{0x300, 1, {{1, 2, 3, 0}}};
    const HPALETTE palette = CreatePalette(&one);
    EXPECT_EQ(SelectPalette(dc, palette, FALSE), GetStockObject(DEFAULT_PALETTE));
    EXPECT_EQ(RealizePalette(dc), 1u);
    PALETTEENTRY entry{};
    EXPECT_EQ(GetPaletteEntries(palette, 0, 5, &entry), 1u);
    EXPECT_EQ(entry.peBlue, 3);
    EXPECT_EQ(GetPaletteEntries(palette, 7, 5, &entry), 0u);
    EXPECT_EQ(SelectPalette(dc, nullptr, FALSE), nullptr);
    EXPECT_TRUE(DeleteObject(GetStockObject(DEFAULT_PALETTE)));
    EXPECT_EQ(GetPaletteEntries(static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), 0, 0, nullptr), 20u);

    Info info(4, 4, 4);
    info.colours[3].rgbRed = 44;
    const HBITMAP bitmap = CreateDIBSection(nullptr, info.get(), DIB_RGB_COLORS, nullptr, nullptr, 0);
    RGBQUAD colours[20] = {};
    EXPECT_EQ(GetDIBColorTable(dc, 0, 20, colours), 0u); // the default bitmap has none
    const HGDIOBJ before = SelectObject(dc, bitmap);
    EXPECT_NE(before, nullptr);
    EXPECT_EQ(GetDIBColorTable(dc, 2, 20, colours), 14u);
    EXPECT_EQ(colours[1].rgbRed, 44);
    EXPECT_EQ(SelectObject(dc, before), bitmap);
    EXPECT_EQ(SelectObject(dc, palette), nullptr);
    EXPECT_TRUE(DeleteObject(palette));
    EXPECT_TRUE(DeleteObject(bitmap));
    EXPECT_TRUE(DeleteDC(dc));
    EXPECT_FALSE(DeleteDC(dc));
}

/// Draws a picture of 3 x 4 pixels, whose rows from the top are abc, def, ghi, jkl, on a surface of 5 x 4
/// dots and gives the surface's rows as text.
std::string draw(bool topDown, int xTarget, int yTarget, DWORD width, DWORD height, int xSource, int ySource,
                 UINT startScan, UINT lines, int* result = nullptr) {
    const std::string rows[] = {"abc", "def", "ghi", "jkl"};
    Info info(3, topDown ? -4 : 4, 8);
    for (int i = 0; i < 256; ++i) {
        info.colours[i].rgbRed = static_cast<BYTE>(i);
    }
    std::vector<char> bits;
    for (UINT i = 0; i < lines && startScan + i < 4; ++i) {
        const UINT line = startScan + i;
        const std::string& row = rows[topDown ? line : 3 - line];
        bits.insert(bits.end(), row.begin(), row.end());
        bits.push_back(0);
    }
    bits.push_back(0);
    std::vector<DWORD> surface(6 * 4, DWORD{'.'} << 16);
    const HDC dc = dornplatform::createSurfaceContext(surface.data(), 5, 4, 6 * sizeof(DWORD));
    const int drawn = SetDIBitsToDevice(dc, xTarget, yTarget, width, height, xSource, ySource, startScan,
                                        lines, bits.data(), info.get(), DIB_RGB_COLORS);
    DeleteDC(dc);
    if (result) {
        *result = drawn;
    }
    std::string text;
    for (std::size_t i = 0; i < surface.size(); ++i) {
        text += i % 6 == 5 ? '|' : static_cast<char>(surface[i] >> 16);
    }
    return text;
}

TEST(Gdi, SurfacesGetTheRectangleThatWasAskedFor) {
    // Whole, cut by each edge of the surface, and parts of the picture counted from its lower left corner.
    EXPECT_EQ(draw(false, 0, 0, 3, 4, 0, 0, 0, 4), "abc..|def..|ghi..|jkl..|");
    EXPECT_EQ(draw(false, 3, 2, 3, 4, 0, 0, 0, 4), ".....|.....|...ab|...de|");
    EXPECT_EQ(draw(false, -1, -2, 3, 4, 0, 0, 0, 4), "hi...|kl...|.....|.....|");
    EXPECT_EQ(draw(false, 0, 0, 2, 2, 1, 1, 0, 4), "ef...|hi...|.....|.....|");
    EXPECT_EQ(draw(false, 1, 1, 9, 9, 0, 0, 0, 4), ".....|.....|.....|.....|");
    EXPECT_EQ(draw(false, 0, 0, 9, 3, -1, 2, 0, 4), ".....|.abc.|.def.|.....|");
    // Bands of the picture: lines are counted from the bottom one, and only the band is drawn.
    int result = 0;
    EXPECT_EQ(draw(false, 0, 0, 3, 4, 0, 0, 1, 2, &result), ".....|def..|ghi..|.....|");
    EXPECT_EQ(result, 2);
    EXPECT_EQ(draw(false, 0, 0, 3, 4, 0, 0, 3, 4, &result), "abc..|.....|.....|.....|");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(draw(false, 0, 0, 3, 4, 0, 0, 4, 4, &result), ".....|.....|.....|.....|");
    EXPECT_EQ(result, 0);
    // Top-down pictures are counted from the top.
    EXPECT_EQ(draw(true, 0, 0, 3, 4, 0, 0, 0, 4), "abc..|def..|ghi..|jkl..|");
    EXPECT_EQ(draw(true, 1, 0, 2, 2, 1, 1, 0, 4), ".ef..|.hi..|.....|.....|");
    EXPECT_EQ(draw(true, 0, 0, 3, 4, 0, 0, 1, 2), ".....|def..|ghi..|.....|");
    // Sizes and places at the ends of their range.
    constexpr int most = 0x7FFFFFFF;
    EXPECT_EQ(draw(false, most, -most - 1, 0xFFFFFFFF, 0xFFFFFFFF, -most - 1, most, 0, 4),
              ".....|.....|.....|.....|");
    EXPECT_EQ(draw(true, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0, 0xFFFFFFFF), "abc..|def..|ghi..|jkl..|");
}

TEST(Gdi, SurfacesWithColourTablesGetTheNearestColour) {
    Info table(10, 1, 1);
    table.colours[1] = {255, 255, 255, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, table.get(), DIB_RGB_COLORS, &bits, nullptr, 0);
    const HDC dc = CreateCompatibleDC(nullptr);
    SelectObject(dc, bitmap);
    const BYTE triples[] = {200, 200, 200, 10, 10, 10, 255, 200, 100, 0, 0, 0};
    EXPECT_EQ(SetDIBitsToDevice(dc, 7, 0, 3, 1, 0, 0, 0, 1, triples, Info(3, 1, 24).get(), DIB_RGB_COLORS),
              1);
    EXPECT_EQ(std::memcmp(bits, "\x01\x40", 2), 0);
    DeleteDC(dc);
    DeleteObject(bitmap);
}

} // namespace
