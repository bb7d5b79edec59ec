#ifndef DORNIMAGE_TESTS_PRIMITIVES_RESIZECASES_H
#define DORNIMAGE_TESTS_PRIMITIVES_RESIZECASES_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "GuardedBuffer.h"
#include "ResizeReference.h"

// Random resizes for the tests of all methods: sizes, tiles, steps, borders and memory that doesn't forgive.

// The block of a plan, of exactly the size that is reported, at any misalignment.
class PlanBlock {
public:
    using Init = std::function<IppStatus(IppiResizeSpec* spec, Ipp8u* initBuffer)>;

    PlanBlock(IppiSize src, IppiSize dst, std::int32_t method, std::size_t misalignment, const Init& init)
        : sizes_(sizesOf(src, dst, method)), block_(static_cast<std::size_t>(sizes_.spec), misalignment),
          status_(initialise(init, misalignment)) {}

    IppStatus status() const { return status_; }
    bool intact() const { return block_.intact() && initIntact_; }
    IppiResizeSpec* spec() { return reinterpret_cast<IppiResizeSpec*>(block_.data()); }
    // The plan inside the block.
    const IppiResizeSpec& plan() {
        const auto address = reinterpret_cast<std::uintptr_t>(block_.data());
        return *reinterpret_cast<const IppiResizeSpec*>((address + 63) / 64 * 64);
    }
    // The size of the work buffer, which has to be there.
    std::size_t bufferSize(IppiSize tile, int channels) {
        std::int32_t size = 0;
        EXPECT_GE(ippiResizeGetBufferSize_8u(spec(), tile, static_cast<std::uint32_t>(channels), &size), 0);
        return static_cast<std::size_t>(size);
    }

private:
    struct Sizes {
        std::int32_t spec;
        std::int32_t initBuffer;
    };

    static Sizes sizesOf(IppiSize src, IppiSize dst, std::int32_t method) {
        Sizes sizes{1, 1};
        EXPECT_EQ(ippiResizeGetSize_8u(src, dst, method, 0, &sizes.spec, &sizes.initBuffer), ippStsNoErr);
        return sizes;
    }

    IppStatus initialise(const Init& init, std::size_t misalignment) {
        GuardedBytes initBuffer(static_cast<std::size_t>(sizes_.initBuffer), misalignment);
        const IppStatus status = init(spec(), initBuffer.data());
        initIntact_ = initBuffer.intact();
        return status;
    }

    Sizes sizes_;
    GuardedBytes block_;
    bool initIntact_ = false;
    IppStatus status_;
};

// One random call of a method.
struct ResizeCase {
    IppiSize src;
    IppiSize dst;
    int channels;
    unsigned border;
    IppiPoint offset;
    IppiSize tile;
    std::size_t srcPadding;
    std::size_t dstPadding;
    std::size_t misalignment; // of plan and work buffer
    bool atStart;             // the source begins behind a forbidden page instead of ending before one

    std::string text() const {
        const auto pair = [](int a, int b) { return std::to_string(a) + "x" + std::to_string(b); };
        return pair(src.width, src.height) + " to " + pair(dst.width, dst.height) + " C" +
               std::to_string(channels) + " border " + std::to_string(border) + " tile " +
               pair(tile.width, tile.height) + " at " + pair(offset.x, offset.y);
    }
};

// Sizes of every kind: equal, enlarged, reduced, with and without common divisors, wide and narrow.
inline int randomExtent(std::mt19937& random, int least, int partner) {
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    switch (below(8)) {
    case 0:
        return std::max(least, partner);
    case 1:
        return std::max(least, 2 * partner);
    case 2:
        return std::max(least, partner / 2);
    case 3:
        return least + below(4);
    case 4:
        return least + below(400);
    default:
        return least + below(70);
    }
}

inline ResizeCase randomResize(std::mt19937& random, int leastSource) {
    const auto upTo = [&](int most) {
        return static_cast<int>(random() % (static_cast<unsigned>(most) + 1));
    };
    ResizeCase test{};
    test.src.width = randomExtent(random, leastSource, 30);
    test.src.height = randomExtent(random, leastSource, 12);
    test.dst.width = randomExtent(random, 1, test.src.width);
    test.dst.height = std::min(randomExtent(random, 1, test.src.height), 60);
    constexpr int channels[] = {1, 3, 4};
    test.channels = channels[upTo(2)];
    constexpr unsigned all = ippBorderInMem;
    const unsigned flags = static_cast<unsigned>(upTo(15)) << 4;
    const unsigned kinds[] = {1, 1 | flags, 1 | flags, all};
    test.border = kinds[upTo(3)];
    test.tile = test.dst;
    if (upTo(2) != 0) {
        test.offset = {upTo(test.dst.width - 1), upTo(test.dst.height - 1)};
        // May reach past the destination, but isn't larger than it.
        test.tile = {1 + upTo(test.dst.width - 1), 1 + upTo(test.dst.height - 1)};
    }
    test.srcPadding = static_cast<std::size_t>(upTo(1) * upTo(9));
    test.dstPadding = static_cast<std::size_t>(upTo(1) * upTo(9));
    test.misalignment = static_cast<std::size_t>(upTo(63));
    test.atStart = upTo(1) == 0;
    return test;
}

// A source of random bytes in memory that ends, or begins, with what the border flags allow to be read: on a
// side in memory what the taps of the tile reach, `reach` pixels to each side, also within the image.
class SourceMemory {
public:
    SourceMemory(std::mt19937& random, const ResizeCase& test, int reach)
        : left_((test.border & ippBorderInMemLeft) != 0 ? reach - 1 - below(test, test.offset.x) : 0),
          top_(side(test, ippBorderInMemTop, reach)),
          rowBytes_(static_cast<std::size_t>((left_ + right(test, reach)) * test.channels)),
          step_(rowBytes_ + test.srcPadding),
          rows_(top_ + static_cast<std::size_t>(test.src.height) + side(test, ippBorderInMemBottom, reach)),
          pages_((rows_ - 1) * step_ + rowBytes_,
                 test.atStart ? GuardedPages::atStart : GuardedPages::atEnd) {
        const bool isExtreme = random() % 4 == 0;
        for (std::size_t i = 0; i < (rows_ - 1) * step_ + rowBytes_; ++i) {
            const auto bits = random();
            pages_.data()[i] = static_cast<std::uint8_t>(isExtreme ? (bits & 1) * 255 : bits);
        }
        pages_.makeReadOnly();
        source_ = {pages_.data() + top_ * step_ + left_ * test.channels,
                   static_cast<std::ptrdiff_t>(step_),
                   test.src.width,
                   test.src.height,
                   test.channels,
                   test.border};
    }

    const resize_reference::Source& source() const { return source_; }

private:
    static std::size_t side(const ResizeCase& test, unsigned flag, int reach) {
        return (test.border & flag) != 0 ? static_cast<std::size_t>(reach) : 0;
    }

    // The source column at or left of a destination column.
    static std::ptrdiff_t below(const ResizeCase& test, int column) {
        const double ratio = static_cast<double>(test.src.width) / test.dst.width;
        return static_cast<std::ptrdiff_t>(std::floor((column + 0.5) * ratio - 0.5));
    }
    // The end of the columns that may be read.
    static std::ptrdiff_t right(const ResizeCase& test, int reach) {
        const int last = std::min(test.offset.x + test.tile.width, test.dst.width) - 1;
        return (test.border & ippBorderInMemRight) != 0 ? below(test, last) + reach + 1 : test.src.width;
    }

    std::ptrdiff_t left_; // columns before the image's first
    std::size_t top_;
    std::size_t rowBytes_;
    std::size_t step_;
    std::size_t rows_;
    GuardedPages pages_;
    resize_reference::Source source_{};
};

using ResizeFunction = IppStatus (*)(const Ipp8u*, std::int32_t, Ipp8u*, std::int32_t, IppiPoint, IppiSize,
                                     std::uint32_t, const Ipp8u*, const IppiResizeSpec*, Ipp8u*);

// Runs a case and hands every sample of the tile to check(x, y, channel, sample), with x and y in the whole
// destination. call(src, srcStep, dst, dstStep, buffer) makes the tile from the source pixel `origin` on.
// Finds writes outside the tile, the plan and the work buffer.
template <typename Call, typename Check>
void runResizeTile(const ResizeCase& test, const resize_reference::Source& source, IppiPoint origin,
                   PlanBlock& plan, Call call, Check check) {
    const auto channels = static_cast<std::size_t>(test.channels);
    const int width = std::min(test.tile.width, test.dst.width - test.offset.x);
    const int height = std::min(test.tile.height, test.dst.height - test.offset.y);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * channels;
    const std::size_t step = static_cast<std::size_t>(test.tile.width) * channels + test.dstPadding;
    const std::size_t lastRow = static_cast<std::size_t>(height - 1) * step;
    GuardedBytes destination(lastRow + rowBytes, test.misalignment / 3);
    GuardedBytes buffer(plan.bufferSize(test.tile, test.channels), test.misalignment);

    const Ipp8u* src = source.data + origin.y * source.step + std::ptrdiff_t{origin.x} * test.channels;
    ASSERT_EQ(call(src, static_cast<std::int32_t>(source.step), destination.data(),
                   static_cast<std::int32_t>(step), buffer.data()),
              ippStsNoErr);
    ASSERT_TRUE(plan.intact() && buffer.intact() && destination.intact());
    for (int y = 0; y < height; ++y) {
        const std::size_t at = static_cast<std::size_t>(y) * step;
        ASSERT_TRUE(at == lastRow || destination.untouched(at + rowBytes, at + step));
        for (std::size_t i = 0; i < rowBytes; ++i) {
            const int x = test.offset.x + static_cast<int>(i / channels);
            const int channel = static_cast<int>(i % channels);
            check(x, test.offset.y + y, channel, destination.data()[at + i]);
            if (testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

// The same for a method with borders.
template <typename Check>
void runResizeCase(const ResizeCase& test, const resize_reference::Source& source, PlanBlock& plan,
                   ResizeFunction function, Check check) {
    const resize_reference::Axis axisX(test.src.width, test.dst.width);
    const resize_reference::Axis axisY(test.src.height, test.dst.height);
    runResizeTile(
        test, source, {axisX.origin(test.offset.x), axisY.origin(test.offset.y)}, plan,
        [&](const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep, Ipp8u* buffer) {
            return function(src, srcStep, dst, dstStep, test.offset, test.tile, test.border, nullptr,
                            plan.spec(), buffer);
        },
        check);
}

#endif
