#include "ImageProcessing/DornImage/DornImage.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <vector>

using DornImage::detectEmptyPage;
using DornImage::EmptyPage3Params;
using DornImage::FIBitmapPtr;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

struct {
    bool refuseConversion = false;
    bool refuseFilter = false;
} codec;

template <class Function>
Function* original(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

FIBITMAP* FreeImage_ConvertToGreyscale(FIBITMAP* bitmap) {
    return codec.refuseConversion
               ? nullptr
               : original(FreeImage_ConvertToGreyscale, "FreeImage_ConvertToGreyscale")(bitmap);
}

// The box filter refuses rows of 0 bytes.
unsigned FreeImage_GetPitch(FIBITMAP* bitmap) {
    return codec.refuseFilter ? 0 : original(FreeImage_GetPitch, "FreeImage_GetPitch")(bitmap);
}

namespace {

EmptyPage3Params settings(int threshold, double maxFilling, std::uint32_t marginPerMille) {
    return {static_cast<std::uint8_t>(threshold), maxFilling, marginPerMille, -1, {}};
}

// The caller owns it.
FIBITMAP* page(unsigned width, unsigned height, int depth, int value = 0) {
    FIBITMAP* const result = FreeImage_Allocate(static_cast<int>(width), static_cast<int>(height), depth);
    std::fill_n(FreeImage_GetBits(result), FreeImage_GetPitch(result) * height, static_cast<BYTE>(value));
    return result;
}

bool isSet(FIBITMAP* bitmap, unsigned x, unsigned y) {
    return (FreeImage_GetScanLine(bitmap, static_cast<int>(y))[x / 8] & (0x80 >> x % 8)) != 0;
}

// The rules once more, pixel by pixel.
class Reference {
public:
    Reference(FIBITMAP* bitmap, int threshold)
        : width_(FreeImage_GetWidth(bitmap)), height_(FreeImage_GetHeight(bitmap)),
          counted_(width_ * height_) {
        const FIBitmapPtr grey(DornImage::FreeImage_IsGrayScale(bitmap)
                                   ? FreeImage_Clone(bitmap)
                                   : FreeImage_ConvertToGreyscale(bitmap));
        Plane pixels(counted_.size());
        for (unsigned y = 0; y < height_; ++y) {
            std::copy_n(FreeImage_GetScanLine(grey.get(), static_cast<int>(y)), width_, &pixels[y * width_]);
        }
        const Plane means = meansOf(pixels, 33);
        Plane marks(pixels.size());
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            marks[i] = std::abs(pixels[i] - means[i]) > threshold ? 255 : 0;
        }
        const Plane density = meansOf(marks, 5);
        for (unsigned y = 0; y < height_; ++y) {
            for (unsigned x = 0; x < width_; ++x) {
                const std::size_t i = y * width_ + x;
                counted_[i] = FreeImage_GetBPP(bitmap) == 1 ? isSet(bitmap, x, y)
                              : marks[i] == 0               ? density[i] > 230
                                                            : density[i] > 21;
            }
        }
    }

    bool judge(EmptyPage3Params& params) const {
        const unsigned left = std::max(16U, width_ * params.marginPerMille / 1000);
        const unsigned bottom = std::max(16U, height_ * params.marginPerMille / 1000);
        if (width_ <= 2 * left || height_ <= 2 * bottom) {
            return false;
        }
        const unsigned columns = parts(width_ - 2 * left);
        const unsigned rows = parts(height_ - 2 * bottom);
        const unsigned across = (width_ - 2 * left) / columns;
        const unsigned down = (height_ - 2 * bottom) / rows;
        double total = 0;
        double most = 0;
        for (unsigned cell = 0; cell < rows * columns; ++cell) {
            double count = 0;
            for (unsigned i = 0; i < across * down; ++i) {
                const unsigned x = left + cell % columns * across + i % across;
                const unsigned y = bottom + cell / columns * down + i / across;
                count += counted_[y * width_ + x];
            }
            params.cellFillings.push_back(count / (across * down));
            most = std::max(most, params.cellFillings.back());
            total += count;
        }
        params.filling = total / ((width_ - 2 * left) * (height_ - 2 * bottom));
        return std::max(most, params.filling) <= params.maxFilling;
    }

private:
    using Plane = std::vector<int>;

    static unsigned parts(unsigned length) {
        return length < 200 ? 1 : length < 300 ? 2 : length < 400 ? 3 : length < 500 ? 4 : 5;
    }

    Plane meansOf(const Plane& plane, int side) const {
        const auto along = [side](const Plane& source, Plane& sums, std::size_t start, std::size_t step,
                                  std::size_t length) {
            for (int i = 0; i < static_cast<int>(length); ++i) {
                for (int k = -(side / 2); k <= side / 2; ++k) {
                    const auto at =
                        static_cast<std::size_t>(std::clamp(i + k, 0, static_cast<int>(length) - 1));
                    sums[start + static_cast<std::size_t>(i) * step] += source[start + at * step];
                }
            }
        };
        Plane rows(plane.size());
        Plane result(plane.size());
        for (std::size_t y = 0; y < height_; ++y) {
            along(plane, rows, y * width_, 1, width_);
        }
        for (std::size_t x = 0; x < width_; ++x) {
            along(rows, result, x, width_, height_);
        }
        for (int& sum : result) {
            sum = (2 * sum + side * side) / (2 * side * side);
        }
        return result;
    }

    unsigned width_;
    unsigned height_;
    std::vector<bool> counted_;
};

} // namespace

// Blotches, strokes and specks on uneven paper at all depths, sizes around the limits of the grid.
TEST(EmptyPage, CountsAsTheRulesSay) {
    std::mt19937 random(6);
    const auto pick = [&random](unsigned below) { return static_cast<unsigned>(random() % below); };
    const std::vector<unsigned> sides = {34, 35, 49, 64, 180, 231, 232, 331, 431, 532, 613, 1800};
    unsigned filled = 0;
    for (int round = 0; round < 50; ++round) {
        const int depth = std::array{1, 8, 8, 24}[pick(4)];
        const FIBitmapPtr bitmap(page(sides[pick(12)], sides[pick(12)], depth));
        const unsigned width = FreeImage_GetWidth(bitmap.get());
        const unsigned height = FreeImage_GetHeight(bitmap.get());
        if (depth == 8 && pick(2)) {
            std::generate_n(&FreeImage_GetPalette(bitmap.get())[0].rgbBlue, 1024, random);
        }
        for (unsigned y = 0; y < height; ++y) {
            BYTE* const row = FreeImage_GetScanLine(bitmap.get(), static_cast<int>(y));
            for (unsigned i = 0; i < FreeImage_GetPitch(bitmap.get()); ++i) {
                const bool ink = (i / 7 + y / 5) % 9 == 0 && pick(16) != 0;
                row[i] = static_cast<BYTE>(depth == 1 ? random() : ink ? pick(60) : 190 + y / 20 + pick(30));
            }
        }
        EmptyPage3Params params = settings(static_cast<int>(pick(80)), pick(100) / 250.0, pick(200));
        EmptyPage3Params expected = params;
        const Reference reference(bitmap.get(), params.differenceThreshold);
        SCOPED_TRACE(testing::Message() << round << ": " << width << " x " << height << " x " << depth);
        ASSERT_EQ(detectEmptyPage(bitmap.get(), params), reference.judge(expected));
        ASSERT_EQ(params.filling, expected.filling);
        ASSERT_EQ(params.cellFillings, expected.cellFillings);
        filled += params.filling > 0.01 && params.filling < 0.99 ? 1 : 0;
    }
    EXPECT_GE(filled, 30U);
}

TEST(EmptyPage, JudgesThePageAndEachCell) {
    const FIBitmapPtr bitmap(page(1032, 532, 1)); // five by five cells of 200 x 100 behind the least margins
    for (int y = 16; y < 36; ++y) {
        std::fill_n(FreeImage_GetScanLine(bitmap.get(), y) + 2, 25, BYTE(0xFF)); // the bottom left cell
    }
    const double page = 4000.0 / (1000 * 500);
    EmptyPage3Params params = settings(0, 0.2, 0);
    EXPECT_TRUE(detectEmptyPage(bitmap.get(), params)) << "no share is above the limit";
    EXPECT_EQ(params.filling, page);
    ASSERT_THAT(params.cellFillings, SizeIs(25));
    EXPECT_EQ(params.cellFillings.front(), 0.2);
    params.maxFilling = page;
    EXPECT_FALSE(detectEmptyPage(bitmap.get(), params)) << "one cell is too full";
    EXPECT_THAT(params.cellFillings, SizeIs(50)) << "the record keeps what it held";
    params.maxFilling = 0;
    params.marginPerMille = 200;
    EXPECT_TRUE(detectEmptyPage(bitmap.get(), params)) << "the mark lies in the margin";

    const FIBitmapPtr one(::page(34, 34, 1));
    FreeImage_GetScanLine(one.get(), 17)[2] = 0x40;
    params = settings(0, 1, 0);
    EXPECT_TRUE(detectEmptyPage(one.get(), params));
    EXPECT_THAT(params.cellFillings, ElementsAre(0.25));

    const FIBitmapPtr even(::page(100, 100, 8, 77));
    EXPECT_TRUE(detectEmptyPage(even.get(), params = settings(0, 0, 0)));
    EXPECT_THAT(params.cellFillings, ElementsAre(0));
}

TEST(EmptyPage, PagesThatCannotBeJudgedLeaveTheResults) {
    struct Case {
        const char* what;
        FIBITMAP* bitmap;
        std::uint32_t marginPerMille;
    };
    const std::vector<Case> cases = {
        {"no bitmap", nullptr, 0},
        {"too narrow", page(33, 1000, 1), 0},
        {"too low", page(1000, 33, 24), 0},
        {"margins that meet across", page(100, 51, 8), 500},
        {"margins that meet down", page(101, 100, 8), 500},
        {"wrapped margins beyond the page", page(100, 100, 8), 42949650},
        {"4 bits", page(100, 100, 4), 0},
        {"16 bits", page(100, 100, 16), 0},
        {"32 bits", page(100, 100, 32), 0},
        {"no pixels, 1 bit", FreeImage_Load(FIF_BMP, DORN_TEST_DATA "/depths/bilevel.bmp", FIF_LOAD_NOPIXELS),
         0},
        {"no pixels, 24 bits",
         FreeImage_Load(FIF_JPEG, DORN_TEST_DATA "/pages/letter_colour_300dpi.jpg", FIF_LOAD_NOPIXELS), 0},
    };
    for (const Case& oneCase : cases) {
        SCOPED_TRACE(oneCase.what);
        const FIBitmapPtr owner(oneCase.bitmap);
        EmptyPage3Params params = settings(255, 1, oneCase.marginPerMille);
        EXPECT_FALSE(detectEmptyPage(oneCase.bitmap, params));
        EXPECT_EQ(params.filling, -1);
        EXPECT_THAT(params.cellFillings, SizeIs(0));
    }
    const FIBitmapPtr bitmap(page(100, 100, 8));
    using ByAddress = bool (*)(FIBITMAP*, EmptyPage3Params*);
    EXPECT_FALSE(
        reinterpret_cast<ByAddress>(reinterpret_cast<void*>(&detectEmptyPage))(bitmap.get(), nullptr));

    EmptyPage3Params params = settings(255, -1, 42949673); // 100 times this wraps to 4
    EXPECT_FALSE(detectEmptyPage(bitmap.get(), params)) << "the limit is below any share";
    EXPECT_THAT(params.cellFillings, SizeIs(1)) << "margins that wrapped to almost nothing";

    FreeImage_GetInfoHeader(bitmap.get())->biHeight = 0;
    EXPECT_TRUE(detectEmptyPage(bitmap.get(), params)) << "nothing on a page without pixels";
    EXPECT_THAT(params.cellFillings, SizeIs(1));
    FreeImage_GetInfoHeader(bitmap.get())->biHeight = 100;
}

// A grey page is judged by what was counted before its filter failed: nothing.
TEST(EmptyPage, FailuresBelowAreToldByDepth) {
    const FIBitmapPtr grey(page(100, 100, 8));
    const FIBitmapPtr colour(page(100, 100, 24));
    const FIBitmapPtr palette(page(100, 100, 8));
    FreeImage_GetPalette(palette.get())[7].rgbRed = 0;
    EmptyPage3Params params = settings(0, 0, 0);

    codec.refuseFilter = true;
    EXPECT_TRUE(detectEmptyPage(grey.get(), params));
    EXPECT_THAT(params.cellFillings, ElementsAre(0));
    EXPECT_FALSE(detectEmptyPage(colour.get(), params));
    codec.refuseFilter = false;

    const FIBitmapPtr header(
        FreeImage_Load(FIF_JPEG, DORN_TEST_DATA "/pages/book_grey_300dpi.jpg", FIF_LOAD_NOPIXELS));
    EmptyPage3Params headerOnly = settings(0, 0, 50); // margins beyond the least ones
    EXPECT_TRUE(detectEmptyPage(header.get(), headerOnly));
    EXPECT_THAT(headerOnly.cellFillings, Each(0));

    codec.refuseConversion = true;
    EXPECT_TRUE(detectEmptyPage(grey.get(), params));
    EXPECT_FALSE(detectEmptyPage(palette.get(), params));
    EXPECT_FALSE(detectEmptyPage(colour.get(), params));
    codec.refuseConversion = false;
    EXPECT_THAT(params.cellFillings, SizeIs(2));
    EXPECT_TRUE(detectEmptyPage(palette.get(), params));
    EXPECT_TRUE(detectEmptyPage(colour.get(), params));
    EXPECT_THAT(params.cellFillings, AllOf(SizeIs(4), Each(0)));
}
