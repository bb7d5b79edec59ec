#include "DibBlocks.h"

#include "tests/ScratchDirectory.h"

#include <gtest/gtest.h>

using namespace DornImage;
using namespace dorntest;

namespace {

std::vector<char> countUp(std::size_t size) {
    std::vector<char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 7 + 1);
    }
    return bytes;
}

using Copy = bool (*)(FIBITMAP*, const char*, unsigned long);

TEST(RawPixels, CopiesRefuseWhatDoesNotFitAndThenChangeNothing) {
    const struct {
        Copy copy;
        int depth;
        unsigned long good;
        std::vector<unsigned long> bad;
    } cases[] = {
        {FreeImage_Copy1, 1, 3 * 4, {0, 10, 3 * 4 + 3}}, // 4 bytes of pitch
        {FreeImage_Copy8, 8, 3 * 9, {0, 3 * 9 - 1, 3 * 9 + 1, 3 * 12}},
        {FreeImage_Copy24RGB, 24, 3 * 27, {0, 3 * 27 - 1, 3 * 27 + 3, 3 * 28}},
    };
    const std::vector<char> data = countUp(200);
    for (const auto& test : cases) {
        SCOPED_TRACE(test.depth);
        const FIBitmapPtr bitmap(makeNoise(9, 3, test.depth, 1));
        const FIBitmapPtr before(FreeImage_Clone(bitmap.get()));
        for (const unsigned long size : test.bad) {
            EXPECT_FALSE(test.copy(bitmap.get(), data.data(), size)) << size;
        }
        EXPECT_FALSE(test.copy(nullptr, data.data(), test.good));
        EXPECT_FALSE(test.copy(bitmap.get(), nullptr, test.good));
        for (const auto& other : cases) {
            const FIBitmapPtr wrong(makeNoise(9, 3, other.depth, 1));
            EXPECT_EQ(test.copy(wrong.get(), data.data(), test.good), test.depth == other.depth);
        }
        EXPECT_TRUE(sameBitmap(bitmap.get(), before.get()));
    }
}

TEST(RawPixels, BufferAndBitmapAreEachOthersReverse) {
    for (const int width : {1, 5, 6, 21, 64, 101}) {
        for (const int depth : {8, 24}) {
            const std::vector<char> data = countUp(static_cast<std::size_t>(width * 4 * (depth / 8)));
            const FIBitmapPtr bitmap(FreeImage_Allocate(width, 4, depth));
            ASSERT_TRUE(
                (depth == 8 ? FreeImage_Copy8 : FreeImage_Copy24RGB)(bitmap.get(), data.data(), data.size()));
            for (int row = 0; row < 4; ++row) {
                for (int x = 0; x < width; ++x) {
                    RGBQUAD colour{};
                    BYTE index = 0;
                    const char* const pixel = data.data() + (row * width + x) * (depth / 8);
                    if (depth == 8) {
                        FreeImage_GetPixelIndex(bitmap.get(), static_cast<unsigned>(x),
                                                static_cast<unsigned>(3 - row), &index);
                        ASSERT_EQ(index, static_cast<BYTE>(pixel[0]));
                    } else {
                        FreeImage_GetPixelColor(bitmap.get(), static_cast<unsigned>(x),
                                                static_cast<unsigned>(3 - row), &colour);
                        ASSERT_EQ(colour.rgbRed, static_cast<BYTE>(pixel[0]));
                        ASSERT_EQ(colour.rgbGreen, static_cast<BYTE>(pixel[1]));
                        ASSERT_EQ(colour.rgbBlue, static_cast<BYTE>(pixel[2]));
                    }
                }
            }
            Bytes back(data.size());
            EXPECT_TRUE(FreeImage_GetDataForPDF(bitmap.get(), back.data()));
            EXPECT_EQ(std::memcmp(back.data(), data.data(), data.size()), 0);
        }
    }
}

TEST(RawPixels, OneBitGoesInPackedAndComesOutAsBytes) {
    const FIBitmapPtr bitmap(FreeImage_Allocate(10, 2, 1));
    std::memset(FreeImage_GetScanLine(bitmap.get(), 0), 0xFF, 4);
    const char rows[] = {'\x80', '\x40', '\x01', '\x80'};
    ASSERT_TRUE(FreeImage_Copy1(bitmap.get(), rows, 4));
    EXPECT_EQ(std::memcmp(FreeImage_GetScanLine(bitmap.get(), 1), "\x80\x40", 2), 0);
    EXPECT_EQ(std::memcmp(FreeImage_GetScanLine(bitmap.get(), 0), "\x01\x80\xFF\xFF", 4),
              0); // the rest stays
    Bytes grey(20, 7);
    ASSERT_TRUE(FreeImage_GetDataForPDF(bitmap.get(), grey.data()));
    Bytes expected(20, 0);
    expected[0] = expected[9] = expected[17] = expected[18] = 255;
    EXPECT_EQ(grey, expected);

    Bytes untouched(100, 7);
    EXPECT_FALSE(FreeImage_GetDataForPDF(FIBitmapPtr(makeNoise(4, 4, 32, 1)).get(), untouched.data()));
    EXPECT_FALSE(FreeImage_GetDataForPDF(nullptr, untouched.data()));
    EXPECT_EQ(untouched, Bytes(100, 7));
}

TEST(RawPixels, Palettes) {
    const FIBitmapPtr bitmap(makeNoise(4, 4, 8, 2));
    const FIBitmapPtr before(FreeImage_Clone(bitmap.get()));
    const Bytes triples(771, 9);
    for (const unsigned long size : {0u, 4u, 771u}) {
        EXPECT_FALSE(FreeImage_SetPalette24(bitmap.get(), triples.data(), size)) << size;
    }
    EXPECT_FALSE(FreeImage_SetPalette24(FIBitmapPtr(makeNoise(4, 4, 1, 2)).get(), triples.data(), 9));
    EXPECT_FALSE(FreeImage_SetPalette24(FIBitmapPtr(makeNoise(4, 4, 4, 2)).get(), triples.data(), 6));
    EXPECT_TRUE(sameBitmap(bitmap.get(), before.get()));
    const unsigned char two[] = {1, 2, 3, 4, 5, 6};
    RGBQUAD* const colours = FreeImage_GetPalette(bitmap.get());
    colours[1].rgbReserved = 77;
    ASSERT_TRUE(FreeImage_SetPalette24(bitmap.get(), two, 6));
    EXPECT_EQ(std::memcmp(colours, "\3\2\1\0\6\5\4\x4D", 8), 0);
    EXPECT_EQ(std::memcmp(colours + 2, FreeImage_GetPalette(before.get()) + 2, 254 * 4), 0);
}

TEST(RawPixels, MonochromePalettes) {
    const RGBQUAD black{0, 0, 0, 0}, white{255, 255, 255, 0}, red{0, 0, 255, 0}, blue{255, 0, 0, 0};
    const FIBitmapPtr target(makeNoise(4, 4, 8, 2));
    const auto pairs = {std::pair(black, white), std::pair(white, black), std::pair(red, blue)};
    for (const auto& [first, second] : pairs) {
        const FIBitmapPtr source(FreeImage_Allocate(4, 4, 1));
        FreeImage_GetPalette(source.get())[0] = first;
        FreeImage_GetPalette(source.get())[1] = second;
        ASSERT_TRUE(FreeImage_SetMonoChromePalete(source.get(), target.get()));
        EXPECT_EQ(std::memcmp(FreeImage_GetPalette(target.get()), FreeImage_GetPalette(source.get()), 8), 0);
    }
    const FIBitmapPtr rgb(makeNoise(4, 4, 24, 2));
    EXPECT_FALSE(FreeImage_SetMonoChromePalete(rgb.get(), target.get()));
    EXPECT_FALSE(FreeImage_SetMonoChromePalete(target.get(), rgb.get()));
    EXPECT_FALSE(FreeImage_SetMonoChromePalete(nullptr, target.get()));
}

TEST(RawPixels, BuffersAreSavedBottomLineFirst) {
    const ScratchDirectory scratch;
    const std::string file = (scratch / "buffer.jpg").string();
    std::wstring wide;
    Velmora::c_u8u16(wide, file);
    Bytes data(32 * 40, 0);
    std::fill(data.begin(), data.begin() + 16 * 40, BYTE{255}); // the first 16 rows are white
    EXPECT_FALSE(ippSave8u(nullptr, 40, {32, 32}, wide.c_str()));
    EXPECT_FALSE(ippSave8u(data.data(), 40, {32, 0}, wide.c_str()));
    ASSERT_TRUE(ippSave8u(data.data(), 40, {32, 32}, wide.c_str()));
    const FIBitmapPtr saved(FreeImage_Load(FIF_JPEG, file.c_str()));
    ASSERT_EQ(FreeImage_GetHeight(saved.get()), 32u);
    EXPECT_GT(FreeImage_GetScanLine(saved.get(), 2)[16], 240);
    EXPECT_LT(FreeImage_GetScanLine(saved.get(), 29)[16], 15);
}

} // namespace
