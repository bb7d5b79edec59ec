#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "primitives/filter/BoxBuffer.h"
#include "primitives/primitives.h"
#include "tests/primitives/BoxReference.h"
#include "tests/primitives/GuardedBuffer.h"
#include "tests/primitives/VariantTest.h"

namespace {

constexpr std::int32_t kMost = 0x7FFFFFFF;

std::size_t bufferSize(IppiSize roi, IppiSize mask) {
    std::int32_t size = 0;
    EXPECT_EQ(ippiFilterBoxBorderGetBufferSize(roi, mask, ipp8u, 1, &size), ippStsNoErr);
    return static_cast<std::size_t>(size);
}

// ---------------------------------------------------------------- sizes and statuses

struct SizeCase {
    IppiSize roi;
    IppiSize mask;
    std::int32_t dataType;
    std::int32_t channels;
    IppStatus status;
    std::int32_t size; // -1 stays as it was
};

TEST(FilterBoxBuffer, ReportsSizesAndStatusesInOrder) {
    const SizeCase cases[] = {
        {{0, 1}, {0, 1}, 0, 2, ippStsSizeErr, -1},
        {{1, -1}, {0, 1}, 0, 2, ippStsSizeErr, -1},
        {{1, 1}, {0, 1}, 0, 2, ippStsMaskSizeErr, -1},
        {{1, 1}, {1, -5}, 0, 2, ippStsMaskSizeErr, -1},
        {{1, 1}, {1, 1}, 0, 2, ippStsDataTypeErr, -1},
        {{1, 1}, {1, 1}, ipp64f, 1, ippStsDataTypeErr, -1},
        {{kMost, kMost}, {kMost, kMost}, ipp8u, 2, ippStsNumChannelsErr, -1},
        {{kMost, kMost}, {kMost, kMost}, ipp8u, 1, ippStsExceededSizeErr, -1},
        {{kMost, kMost}, {1, kMost}, ipp32f, 4, ippStsExceededSizeErr, -1},
        {{kMost, 1}, {2, 1}, ipp8u, 1, ippStsExceededSizeErr, -1},
        // 4 * 0 saved, (100 + 1 + 3) * 4 sums, 100 * 1 + 64 copies, 8 pointers
        {{100, 50}, {1, 1}, ipp8u, 1, ippStsNoErr, 588},
        // P 2512 * 48, Q 3540 * 48, twice each; 2516 * 4; 2480 * 17 + 64; 8 * 17
        {{2480, 3508}, {33, 33}, ipp8u, 1, ippStsNoErr, 8 * (120576 + 169920) + 10064 + 42224 + 136},
        // Mask sides of 2: P 11 * 2 and P2 11 * 3, Q 21 * 2 and Q2 21 * 3; 15 * 4; 10 * 1 + 64; 8
        {{10, 20}, {2, 2}, ipp8u, 1, ippStsNoErr, 4 * (22 + 33 + 42 + 63) + 60 + 74 + 8},
        // Twice the mask less one: the whole of 13 * 14 is copied, three channels of 16 bits
        {{9, 10}, {5, 5}, ipp16s, 3, ippStsNoErr, 12 * 2 * (78 + 84) + 17 * 16 + 13 * 14 * 6 + 24},
        // Twice the mask: edges only
        {{10, 10}, {5, 5}, ipp16u, 3, ippStsNoErr, 12 * 4 * 84 + 18 * 16 + 10 * 3 * 6 + 64 + 24},
    };
    for (const SizeCase& c : cases) {
        std::int32_t size = -1;
        EXPECT_EQ(ippiFilterBoxBorderGetBufferSize(c.roi, c.mask, c.dataType, c.channels, &size), c.status);
        EXPECT_EQ(size, c.size) << c.roi.width << 'x' << c.roi.height << " mask " << c.mask.width;
    }
    EXPECT_EQ(ippiFilterBoxBorderGetBufferSize({0, 0}, {0, 0}, 0, 0, nullptr), ippStsNullPtrErr);
}

// What the filter keeps in its buffer fits what callers are told, wherever that begins.
TEST(FilterBoxBuffer, HoldsWhatIsKeptInIt) {
    std::mt19937 random(4);
    const auto check = [](IppiSize roi, IppiSize mask, std::uint32_t memory, bool constant, bool inPlace) {
        const std::int64_t reported = primitives::boxBufferSize(roi, mask, 1, 1);
        if (reported >= primitives::kBoxBufferLimit) {
            return;
        }
        const primitives::BoxLayout layout = primitives::makeBoxLayout(
            primitives::makeBoxGeometry(roi, mask, memory), constant && mask.height > 1, inPlace);
        ASSERT_LE(static_cast<std::int64_t>(layout.end), reported)
            << roi.width << 'x' << roi.height << " mask " << mask.width << 'x' << mask.height;
    };
    for (std::int32_t i = 0; i < 9 * 9 * 9 * 9; ++i) {
        check({1 + i % 9, 1 + i / 9 % 9}, {1 + i / 81 % 9, 1 + i / 729}, i % 2 * ippBorderInMemLeft, true,
              true);
    }
    const auto side = [&random] { return static_cast<std::int32_t>(kMost >> random() % 31) | 1; };
    for (int i = 0; i < 100000; ++i) {
        check({side(), side()}, {side(), side()}, random() & ippBorderInMem, random() % 2 == 0,
              random() % 2 == 0);
    }
}

struct RunCase {
    bool src, dst, buffer;
    std::int32_t srcStep, dstStep;
    IppiSize roi, mask;
    std::uint32_t border;
    bool value;
    IppStatus status;
};

TEST(FilterBox, TestsItsArgumentsInOrder) {
    const RunCase cases[] = {
        {false, true, true, 0, 0, {0, 0}, {0, 0}, 999, false, ippStsNullPtrErr},
        {true, false, true, 0, 0, {0, 0}, {0, 0}, 999, false, ippStsNullPtrErr},
        {true, true, false, 0, 0, {0, 0}, {0, 0}, 999, false, ippStsNullPtrErr},
        {true, true, true, 0, 1, {0, 0}, {0, 0}, 999, false, ippStsStepErr},
        {true, true, true, 1, -1, {0, 0}, {0, 0}, 999, false, ippStsStepErr},
        {true, true, true, 1, 1, {0, 1}, {0, 0}, 999, false, ippStsSizeErr},
        {true, true, true, 1, 1, {1, 0}, {0, 0}, 999, false, ippStsSizeErr},
        {true, true, true, 1, 1, {1, 1}, {1, 0}, 999, false, ippStsMaskSizeErr},
        {true, true, true, 1, 1, {1, 1}, {-1, 1}, 999, false, ippStsMaskSizeErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, 256 + ippBorderConst, false, ippStsBorderErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, 0xF6, false, ippStsNullPtrErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, ippBorderConst, false, ippStsNullPtrErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, 0, true, ippStsBorderErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, ippBorderTransp, true, ippStsBorderErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, 0x70, true, ippStsBorderErr},
        {true, true, true, 1, 1, {1, 1}, {kMost, kMost}, 0xF2, true, ippStsBorderErr},
        {true, true, true, 1, 1, {1, 1}, {kMost, kMost}, 0xF0, true, ippStsExceededSizeErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, 0xF0, false, ippStsNoErr},
        {true, true, true, 1, 1, {1, 1}, {1, 1}, ippBorderMirror, false, ippStsNoErr},
    };
    for (const RunCase& c : cases) {
        const Ipp8u pixel = 77;
        const Ipp8u value = 0;
        Ipp8u result = 1;
        std::vector<Ipp8u> buffer(bufferSize({1, 1}, {1, 1}));
        EXPECT_EQ(ippiFilterBoxBorder_8u_C1R(c.src ? &pixel : nullptr, c.srcStep, c.dst ? &result : nullptr,
                                             c.dstStep, c.roi, c.mask, c.border, c.value ? &value : nullptr,
                                             c.buffer ? buffer.data() : nullptr),
                  c.status)
            << &c - cases;
        EXPECT_EQ(result, c.status == ippStsNoErr ? 77 : 1) << &c - cases;
    }
}

// ---------------------------------------------------------------- pixels

class FilterBox : public VariantTest {
protected:
    using Border = boxreference::Border;

    struct Setup {
        IppiSize roi;
        IppiSize mask;
        Border border;
        std::int32_t spare; // bytes between the rows
        bool inPlace;
        bool isEdge = false; // black on the left, white on the right, instead of any pixels

        std::string text() const {
            return "roi " + std::to_string(roi.width) + 'x' + std::to_string(roi.height) + " mask " +
                   std::to_string(mask.width) + 'x' + std::to_string(mask.height) + " border " +
                   std::to_string(border.type) + (inPlace ? " in place" : "");
        }
    };

    // The image, and around it what the border's flags promise and no byte more.
    void checkAgainstReference(const Setup& setup, GuardedPages::Place place) {
        const auto beyond = [&](std::uint32_t flag, std::int32_t size) {
            return setup.border.type & flag ? size : 0;
        };
        const IppiSize roi = setup.roi;
        const IppiSize mask = setup.mask;
        const std::int32_t left = beyond(ippBorderInMemLeft, (mask.width - 1) / 2);
        const std::int32_t right = beyond(ippBorderInMemRight, mask.width / 2);
        const std::int32_t top = beyond(ippBorderInMemTop, (mask.height - 1) / 2);
        const std::int32_t bottom = beyond(ippBorderInMemBottom, mask.height / 2);
        const std::int32_t width = left + roi.width + right;
        const std::int32_t step = width + setup.spare;
        const std::int32_t rows = top + roi.height + bottom;

        GuardedPages image(static_cast<std::size_t>(step) * static_cast<std::size_t>(rows - 1) +
                               static_cast<std::size_t>(width),
                           place);
        for (std::int32_t y = 0; y < rows; ++y) {
            for (std::int32_t x = 0; x < width; ++x) {
                const int pixel = setup.isEdge ? (x < width / 2 ? 0 : 255) : below(300);
                image.data()[y * step + x] = static_cast<Ipp8u>(std::min(pixel, 255));
            }
        }
        Ipp8u* src = image.data() + top * step + left;
        std::vector<int> expected;
        for (std::int32_t y = 0; y < roi.height; ++y) {
            for (std::int32_t x = 0; x < roi.width; ++x) {
                expected.push_back(boxreference::mean(src, step, roi, mask, setup.border, x, y));
            }
        }

        const std::int32_t dstStep = roi.width + setup.spare;
        GuardedBytes separate(static_cast<std::size_t>(dstStep) * static_cast<std::size_t>(roi.height));
        GuardedBytes buffer(bufferSize(roi, mask), random_() % 64);
        if (!setup.inPlace) {
            image.makeReadOnly();
        }
        Ipp8u* dst = setup.inPlace ? src : separate.data();
        const std::int32_t step2 = setup.inPlace ? step : dstStep;
        const bool isConstant = (setup.border.type & 15) == ippBorderConst;
        ASSERT_EQ(ippiFilterBoxBorder_8u_C1R(src, step, dst, step2, roi, mask, setup.border.type,
                                             isConstant ? &setup.border.value : nullptr, buffer.data()),
                  ippStsNoErr)
            << setup.text();

        for (std::size_t i = 0; i < expected.size(); ++i) {
            const auto x = static_cast<std::int32_t>(i) % roi.width;
            const auto y = static_cast<std::int32_t>(i) / roi.width;
            ASSERT_EQ(int{dst[y * step2 + x]}, expected[i]) << setup.text() << " at " << x << ", " << y;
        }
        EXPECT_TRUE(buffer.intact()) << setup.text();
        EXPECT_TRUE(separate.intact()) << setup.text();
        for (std::int32_t y = 0; y < roi.height; ++y) {
            const auto end = static_cast<std::size_t>(y * dstStep + roi.width);
            EXPECT_TRUE(separate.untouched(end, end + static_cast<std::size_t>(setup.spare)));
        }
    }

    std::int32_t below(std::uint32_t end) { return static_cast<std::int32_t>(random_() % end); }

    std::mt19937 random_{20};
};

INSTANTIATE_VARIANTS(FilterBox);

TEST_P(FilterBox, GivesWhatItsDefinitionSays) {
    const std::uint32_t kinds[] = {ippBorderRepl, ippBorderMirror, ippBorderConst};
    for (int i = 0; i < rounds(300); ++i) {
        const bool isLarge = i % 5 == 0;
        Setup setup{
            {1 + below(isLarge ? 300 : 40), 1 + below(20)}, {1 + below(9), 1 + below(9)}, {}, 0, i % 3 == 0};
        if (i % 4 == 1) {
            const std::int32_t side = 3 + 2 * below(3);
            setup.mask = {side, side};
        } else if (i % 4 == 2) {
            setup.mask = {1 + below(70), 1 + below(40)};
        }
        setup.border.type = kinds[below(3)] | (i % 2 ? static_cast<std::uint32_t>(below(16)) << 4 : 0U);
        setup.border.value = static_cast<Ipp8u>(random_());
        setup.spare = i % 7 == 0 ? below(30) : 0;
        if (i % 50 == 0) {
            setup.border.type = ippBorderInMem;
        }
        checkAgainstReference(setup, i % 2 == 0 ? GuardedPages::atStart : GuardedPages::atEnd);
        if (HasFatalFailure()) {
            return;
        }
    }
    checkAgainstReference({{130, 40}, {33, 33}, {ippBorderRepl, 0}, 3, false}, GuardedPages::atEnd);
    // Column sums and their differences at the limits of 16-bit lanes, and sums of more than 24 bits
    for (const std::int32_t height : {128, 129, 257, 258}) {
        checkAgainstReference({{90, 3}, {4, height}, {ippBorderRepl, 0}, 0, false, true},
                              GuardedPages::atEnd);
    }
    checkAgainstReference({{20, 300}, {9, 270}, {ippBorderMirror, 0}, 0, true}, GuardedPages::atEnd);
    checkAgainstReference({{40, 3}, {400, 300}, {ippBorderConst, 255}, 0, false}, GuardedPages::atEnd);
}

// Pixel (x, y) is the integer part of (x * mask height + y) / area: the values of the mask at (x, y) are
// those of consecutive numerators, and they add up to the first of them. So all sums occur.
TEST_P(FilterBox, RoundsEverySumLikeThePlainForm) {
    std::vector<IppiSize> masks = {{3, 3}, {5, 5}, {7, 7}, {33, 33}, {2, 2}, {16, 9}, {6, 20}};
    for (std::int32_t area = 1; area <= rounds(100); ++area) {
        masks.push_back({area, 1});
    }
    for (const IppiSize mask : masks) {
        const std::int32_t area = mask.width * mask.height;
        const IppiSize roi{255 * mask.width + 1, mask.height};
        const std::int32_t step = roi.width + mask.width;
        std::vector<Ipp8u> image(static_cast<std::size_t>(step) * static_cast<std::size_t>(2 * mask.height));
        for (std::int32_t y = 0; y < 2 * mask.height; ++y) {
            for (std::int32_t x = 0; x < step; ++x) {
                image[static_cast<std::size_t>(y * step + x)] =
                    static_cast<Ipp8u>(std::min((x * mask.height + y) / area, 255));
            }
        }
        const Ipp8u* src = image.data() + (mask.height - 1) / 2 * step + (mask.width - 1) / 2;
        std::vector<Ipp8u> result(static_cast<std::size_t>(roi.width) * static_cast<std::size_t>(roi.height));
        std::vector<Ipp8u> buffer(bufferSize(roi, mask));
        ASSERT_EQ(ippiFilterBoxBorder_8u_C1R(src, step, result.data(), roi.width, roi, mask, ippBorderInMem,
                                             nullptr, buffer.data()),
                  ippStsNoErr);
        for (std::int32_t sum = 0; sum <= 255 * area; ++sum) {
            const std::int32_t x = sum / mask.height;
            const std::int32_t y = sum % mask.height;
            const int mean = result[static_cast<std::size_t>(y * roi.width + x)];
            ASSERT_EQ(mean, boxreference::roundedMean(sum, area)) << "sum " << sum << " of " << area;
            if (mask.width == mask.height && area % 2 == 1) {
                ASSERT_EQ(mean, (2 * sum + area) / (2 * area)) << "sum " << sum << " of " << area;
            }
        }
    }
}

// Masks whose sums pass 24, 31 and 32 bits; what these do with an image is too slow to look up one by one.
TEST_P(FilterBox, KeepsFlatImagesUnderHugeMasks) {
    std::vector<IppiSize> masks = {{600001, 1}, {1, 600001}, {3001, 301}};
    if (GetParam() == 0) { // no vector work in these
        masks.insert(masks.end(), {{3001, 3001}, {8500000, 1}, {1, 17000000}});
    }
    for (const IppiSize mask : masks) {
        const IppiSize roi{3, 2};
        const std::unique_ptr<Ipp8u[]> buffer(new Ipp8u[bufferSize(roi, mask)]);
        for (const Ipp8u value : {Ipp8u{1}, Ipp8u{254}, Ipp8u{255}}) {
            const std::vector<Ipp8u> image(6, value);
            std::vector<Ipp8u> result(6);
            ASSERT_EQ(ippiFilterBoxBorder_8u_C1R(image.data(), 3, result.data(), 3, roi, mask,
                                                 ippBorderMirror, nullptr, buffer.get()),
                      ippStsNoErr);
            EXPECT_EQ(result, image) << mask.width << 'x' << mask.height;
        }
    }
}

// A step below the row's length is no error; the bytes outside the rows stay out of it.
TEST_P(FilterBox, TakesOverlappingRows) {
    const IppiSize roi{50, 40};
    GuardedPages image(50 + 39);
    GuardedBytes result(50 + 39);
    GuardedBytes buffer(bufferSize(roi, {5, 5}));
    std::fill_n(image.data(), 50 + 39, Ipp8u{9});
    ASSERT_EQ(ippiFilterBoxBorder_8u_C1R(image.data(), 1, result.data(), 1, roi, {5, 5}, ippBorderRepl,
                                         nullptr, buffer.data()),
              ippStsNoErr);
    EXPECT_EQ(std::count(result.data(), result.data() + 50 + 39, 9), 50 + 39);
    EXPECT_TRUE(result.intact());
    EXPECT_TRUE(buffer.intact());
    ASSERT_EQ(ippiFilterBoxBorder_8u_C1R(image.data(), 1, image.data(), 1, roi, {5, 5}, ippBorderRepl,
                                         nullptr, buffer.data()),
              ippStsNoErr);
    EXPECT_TRUE(buffer.intact());
}

} // namespace
