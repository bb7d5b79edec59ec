// Statuses and sizes of the resize family.

#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "ResizeCases.h"
#include "primitives/primitives.h"
#if !defined(DORN_PORTABLE_PRIMITIVES)
#include <xmmintrin.h>

#include "primitives/resize/FlushToZero.h"
#endif

namespace {

constexpr std::int32_t kUnset = -77;
constexpr int kMax = 0x7FFFFFFF;

TEST(ResizeSizing, TellsPlanSizes) {
    struct Row {
        IppiSize src;
        IppiSize dst;
        int method;
        unsigned antialiasing;
        IppStatus status;
        std::int32_t specSize;
        std::int32_t initSize;
    };
    const Row rows[] = {
        // the order of the tests
        {{0, 5}, {-1, -1}, 3, 0, ippStsNoOperation, kUnset, kUnset},
        {{-1, 5}, {0, 5}, 3, 0, ippStsNoOperation, kUnset, kUnset},
        {{5, 5}, {5, -1}, 3, 0, ippStsSizeErr, kUnset, kUnset},
        {{5, 5}, {5, 5}, 3, 0, ippStsInterpolationErr, kUnset, kUnset},
        {{5, 5}, {5, 5}, -1, 0, ippStsInterpolationErr, kUnset, kUnset},
        {{1, 1}, {5, 5}, 0, 0, ippStsNotSupportedModeErr, kUnset, kUnset},
        // least sizes
        {{1, 100}, {9, 9}, ippLinear, 0, ippStsSizeErr, kUnset, kUnset},
        {{2, 2}, {1, 1}, ippLinear, 0, ippStsNoErr, 808, 64},
        {{3, 100}, {9, 9}, ippCubic, 0, ippStsSizeErr, kUnset, kUnset},
        {{100, 3}, {9, 9}, ippLanczos, 1, ippStsSizeErr, kUnset, kUnset},
        {{5, 5}, {1, 1}, ippLanczos, 0, ippStsNoErr, 296 + 256 + 12 * 128, 320},
        {{100, 100}, {101, 50}, ippSuper, 0, ippStsSizeErr, kUnset, kUnset},
        {{1, 1}, {33, 1}, ippNearest, 0, ippStsNoErr, 680, 64},
        // formulas
        {{100, 50}, {200, 120}, ippLinear, 0, ippStsNoErr, 3112, 64},
        {{10, 10}, {33, 7}, ippCubic, 0, ippStsNoErr, 2216, 448},
        {{10, 10}, {33, 7}, ippLanczos, 0, ippStsNoErr, 3112, 448},
        {{300, 200}, {100, 100}, ippSuper, 0, ippStsNoErr, (32 + 3 + 2 + 32) * 4 + 296, 64},
        {{7, 5}, {5, 5}, ippSuper, 0, ippStsNoErr, 616, 64},
        {{1000, 3}, {999, 2}, ippSuper, 0, ippStsNoErr, 16496, 64},
        // antialiasing
        {{30, 10}, {10, 20}, ippLinear, 1, ippStsNoErr, 1192, 576},
        {{25, 10}, {10, 10}, ippCubic, 7, ippStsNoErr, 800 + 160 + 256 + 296, 576},
        {{7, 5}, {5, 5}, ippSuper, 1, ippStsNoAntialiasing, 616, 64},
        {{1, 1}, {33, 1}, ippNearest, 2, ippStsNoAntialiasing, 680, 64},
        // the largest
        {{2, 2}, {268435360, 32}, ippLinear, 0, ippStsNoErr, 2147483432, 64},
        {{2, 2}, {268435361, 32}, ippLinear, 0, ippStsExceededSizeErr, kUnset, kUnset},
        {{4, 4}, {kMax, kMax}, ippLanczos, 0, ippStsExceededSizeErr, kUnset, kUnset},
        {{kMax, kMax}, {kMax, kMax}, ippCubic, 1, ippStsExceededSizeErr, kUnset, kUnset},
        {{kMax, kMax}, {kMax - 1, kMax - 2}, ippSuper, 0, ippStsExceededSizeErr, kUnset, kUnset},
        {{kMax, kMax}, {1, 1}, ippLanczos, 1, ippStsExceededSizeErr, kUnset, kUnset},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::int32_t specSize = kUnset;
        std::int32_t initSize = kUnset;
        EXPECT_EQ(ippiResizeGetSize_8u(row.src, row.dst, row.method, row.antialiasing, &specSize, &initSize),
                  row.status);
        EXPECT_EQ(specSize, row.specSize);
        EXPECT_EQ(initSize, row.initSize);
        EXPECT_EQ(ippiResizeGetSize_8u(row.src, row.dst, row.method, 0, nullptr, &initSize),
                  ippStsNullPtrErr);
        EXPECT_EQ(ippiResizeGetSize_8u(row.src, row.dst, row.method, 0, &specSize, nullptr),
                  ippStsNullPtrErr);
    }
}

// A plan without tables, with the extents that buffer sizes follow from.
IppiResizeSpec headOf(std::uint32_t method, std::uint32_t taps, IppiSize src, IppiSize dst) {
    IppiResizeSpec plan{};
    plan.magic = IPP_RESIZE_MAGIC;
    plan.interpolation = method;
    plan.tapsX = taps;
    plan.tapsY = taps;
    const auto axis = [](int from, int to) {
        const auto divisor = static_cast<std::uint32_t>(std::gcd(from, to));
        IppiResizeAxis result{};
        result.srcSize = static_cast<std::uint32_t>(from);
        result.dstSize = static_cast<std::uint32_t>(to);
        result.srcReduced = result.srcSize / divisor;
        result.dstReduced = result.dstSize / divisor;
        return result;
    };
    plan.axisX = axis(src.width, dst.width);
    plan.axisY = axis(src.height, dst.height);
    return plan;
}

TEST(ResizeSizing, TellsBufferSizes) {
    const IppiResizeSpec linear = headOf(ippLinear, 1, {10, 10}, {20, 30});
    const IppiResizeSpec cubic = headOf(ippCubic, 2, {10, 10}, {20, 30});
    const IppiResizeSpec lanczos = headOf(ippLanczos, 3, {10, 10}, {20, 30});
    const IppiResizeSpec nearest = headOf(ippNearest, 0, {10, 10}, {20, 30});
    const IppiResizeSpec third = headOf(ippSuper, 0, {300, 300}, {100, 100});
    const IppiResizeSpec fraction = headOf(ippSuper, 0, {1000, 1000}, {999, 7});
    const IppiResizeSpec huge = headOf(ippSuper, 0, {kMax, kMax}, {kMax - 1, kMax - 1});
    const IppiResizeSpec wide = headOf(ippLanczos, 3, {10, 10}, {kMax, 1});
    const IppiResizeSpec forged = headOf(0, 1, {10, 10}, {20, 30});
    IppiResizeSpec broken = linear;
    broken.magic = 0;

    struct Row {
        const IppiResizeSpec* plan;
        IppiSize tile;
        unsigned channels;
        IppStatus status;
        std::int32_t size;
    };
    const Row rows[] = {
        {nullptr, {0, 0}, 2, ippStsNullPtrErr, kUnset},
        {&broken, {0, -1}, 2, ippStsNoOperation, kUnset},
        {&broken, {-1, -1}, 2, ippStsContextMatchErr, kUnset},
        {&linear, {-1, -1}, 2, ippStsNumChannelsErr, kUnset},
        {&linear, {5, -1}, 3, ippStsSizeErr, kUnset},
        {&forged, {5, 5}, 3, ippStsNotSupportedModeErr, kUnset},
        {&linear, {20, 30}, 3, ippStsNoErr, 128 + 96 + 2 * 256 + 64},
        {&linear, {100, 5}, 1, ippStsSizeWrn, 32 + 96 + 2 * 96 + 64},
        {&cubic, {20, 31}, 4, ippStsSizeWrn, 128 + 96 + 4 * 320 + 64},
        {&lanczos, {1, 1}, 1, ippStsNoErr, 32 + 32 + 6 * 32 + 64},
        {&nearest, {20, 30}, 1, ippStsNoErr, 128 + 96 + 64},
        {&third, {100, 100}, 1, ippStsNoErr, 832 + 32 + 4 * 320 + 8 + 64},
        {&third, {50, 50}, 3, ippStsNoErr, 448 + 32 + 12 * 160 + 8 + 64},
        {&fraction, {999, 3}, 1, ippStsNoErr, 32 + 4000 + 32 + (4 * 1024 + 8) * 3 + 64},
        {&huge, {kMax, kMax}, 4, ippStsExceededSizeErr, kUnset},
        {&wide, {kMax, kMax}, 4, ippStsExceededSizeErr, kUnset},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        alignas(64) std::uint8_t block[sizeof(IppiResizeSpec) + 64];
        const IppiResizeSpec* spec = nullptr;
        if (row.plan) {
            std::memcpy(block + 64, row.plan, sizeof *row.plan);
            spec = reinterpret_cast<const IppiResizeSpec*>(block + 3); // the next boundary is 64
        }
        std::int32_t size = kUnset;
        EXPECT_EQ(ippiResizeGetBufferSize_8u(spec, row.tile, row.channels, &size), row.status);
        EXPECT_EQ(size, row.size);
        EXPECT_EQ(ippiResizeGetBufferSize_8u(spec, row.tile, row.channels, nullptr), ippStsNullPtrErr);
    }
}

TEST(ResizeSizing, LinearInitChecksInOrder) {
    struct Row {
        IppiSize src;
        IppiSize dst;
        IppStatus status;
    };
    const Row rows[] = {
        {{0, -1}, {-1, 4}, ippStsNoOperation}, {{-1, 4}, {4, 0}, ippStsNoOperation},
        {{4, 4}, {4, -1}, ippStsSizeErr},      {{1, 4}, {4, 4}, ippStsSizeErr},
        {{4, 1}, {4, 4}, ippStsSizeErr},       {{2, 2}, {1, 1}, ippStsNoErr},
    };
    alignas(64) std::uint8_t block[2048];
    auto* spec = reinterpret_cast<IppiResizeSpec*>(block);
    for (const Row& row : rows) {
        EXPECT_EQ(ippiResizeLinearInit_8u(row.src, row.dst, spec), row.status);
        EXPECT_EQ(ippiResizeLinearInit_8u(row.src, row.dst, nullptr), ippStsNullPtrErr);
    }
}

// What a run is called with; each row of a table spoils some of it.
struct RunArguments {
    bool hasSrc = true;
    bool hasDst = true;
    bool hasSpec = true;
    bool hasBuffer = true;
    IppiPoint offset{0, 0};
    IppiSize tile{6, 5};
    unsigned border = 1;
    std::uint32_t magic = IPP_RESIZE_MAGIC;
    std::uint32_t antialiasing = 0;
    bool isOtherMethod = false;
};

// The run functions of a method, and its Init function.
struct Family {
    std::int32_t method;
    ResizeFunction runs[3];
    IppStatus (*init)(IppiSize src, IppiSize dst, IppiResizeSpec* spec, Ipp8u* initBuffer);
};

const Family kFamilies[] = {
    {ippLinear,
     {ippiResizeLinear_8u_C1R, ippiResizeLinear_8u_C3R, ippiResizeLinear_8u_C4R},
     [](IppiSize src, IppiSize dst, IppiResizeSpec* spec, Ipp8u*) {
         return ippiResizeLinearInit_8u(src, dst, spec);
     }},
    {ippCubic,
     {ippiResizeCubic_8u_C1R, ippiResizeCubic_8u_C3R, ippiResizeCubic_8u_C4R},
     [](IppiSize src, IppiSize dst, IppiResizeSpec* spec, Ipp8u* initBuffer) {
         return ippiResizeCubicInit_8u(src, dst, 1, 0, spec, initBuffer);
     }},
    {ippLanczos,
     {ippiResizeLanczos_8u_C1R, ippiResizeLanczos_8u_C3R, ippiResizeLanczos_8u_C4R},
     [](IppiSize src, IppiSize dst, IppiResizeSpec* spec, Ipp8u* initBuffer) {
         return ippiResizeLanczosInit_8u(src, dst, 2, spec, initBuffer);
     }},
};

PlanBlock makePlan(const Family& family, IppiSize src, IppiSize dst) {
    return {src, dst, family.method, 0,
            [&](IppiResizeSpec* spec, Ipp8u* initBuffer) { return family.init(src, dst, spec, initBuffer); }};
}

TEST(ResizeSizing, RunsWithBordersCheckInOrder) {
    using Spoil = void (*)(RunArguments&);
    struct Row {
        IppStatus status;
        Spoil spoil;
    };
    // From the last test to the first: the spoils add up, and the first test that fails decides.
    const Row rows[] = {
        {ippStsNoErr, [](RunArguments&) {}},
        {ippStsNoErr,
         [](RunArguments& a) {
             a.offset = {5, 4};
         }}, // clipped to one pixel
        {ippStsContextMatchErr, [](RunArguments& a) { a.isOtherMethod = true; }},
        {ippStsNotSupportedModeErr, [](RunArguments& a) { a.antialiasing = 1; }},
        {ippStsOutOfRangeErr,
         [](RunArguments& a) {
             a.offset = {0, 5};
         }},
        {ippStsOutOfRangeErr,
         [](RunArguments& a) {
             a.offset = {6, 0};
         }},
        {ippStsOutOfRangeErr,
         [](RunArguments& a) {
             a.offset = {-1, 0};
         }},
        {ippStsOutOfRangeErr,
         [](RunArguments& a) {
             a.offset = {0, -1};
         }},
        {ippStsSizeErr,
         [](RunArguments& a) {
             a.tile = {-1, 5};
         }},
        {ippStsSizeErr,
         [](RunArguments& a) {
             a.tile = {5, -1};
         }},
        {ippStsContextMatchErr, [](RunArguments& a) { a.magic = 1; }},
        {ippStsNoOperation,
         [](RunArguments& a) {
             a.tile = {-1, 0};
         }},
        {ippStsNoOperation,
         [](RunArguments& a) {
             a.tile = {0, 5};
         }},
        {ippStsNullPtrErr, [](RunArguments& a) { a.hasBuffer = false; }},
        {ippStsNullPtrErr, [](RunArguments& a) { a.hasBuffer = true, a.hasSpec = false; }},
        {ippStsNullPtrErr, [](RunArguments& a) { a.hasSpec = true, a.hasDst = false; }},
        {ippStsNullPtrErr, [](RunArguments& a) { a.hasDst = true, a.hasSrc = false; }},
        {ippStsBorderErr, [](RunArguments& a) { a.border = 0; }},
        {ippStsBorderErr, [](RunArguments& a) { a.border = 224; }},
        {ippStsBorderErr, [](RunArguments& a) { a.border = 6; }},
        {ippStsBorderErr, [](RunArguments& a) { a.border = 257; }},
    };
    for (std::size_t i = 0; i < 3 * std::size(kFamilies); ++i) {
        const Family& family = kFamilies[i / 3];
        const ResizeFunction run = family.runs[i % 3];
        PlanBlock block = makePlan(family, {4, 4}, {6, 5});
        const std::vector<Ipp8u> src(8 * 16, 9); // rows above the tile too
        std::vector<Ipp8u> buffer(block.bufferSize({6, 5}, 4));
        RunArguments arguments;
        for (const Row& row : rows) {
            SCOPED_TRACE(&row - rows);
            row.spoil(arguments);
            IppiResizeSpec* spec = block.spec();
            spec->magic = arguments.magic;
            spec->antialiasing = arguments.antialiasing;
            spec->interpolation =
                static_cast<std::uint32_t>(arguments.isOtherMethod ? ippSuper : family.method);
            std::vector<Ipp8u> dst(5 * 24, 1);
            EXPECT_EQ(run(arguments.hasSrc ? src.data() + 4 * 16 : nullptr, 16,
                          arguments.hasDst ? dst.data() : nullptr, 24, arguments.offset, arguments.tile,
                          arguments.border, nullptr, arguments.hasSpec ? spec : nullptr,
                          arguments.hasBuffer ? buffer.data() : nullptr),
                      row.status);
            EXPECT_EQ(dst[0], row.status == ippStsNoErr ? 9 : 1);
        }
    }
}

TEST(ResizeSizing, TilesLargerThanTheDestinationAreClippedWithAWarning) {
    const std::vector<Ipp8u> src(16, 9);
    for (const Family& family : kFamilies) {
        PlanBlock block = makePlan(family, {4, 4}, {6, 5});
        std::vector<Ipp8u> buffer(block.bufferSize({7, 5}, 1));
        GuardedBytes dst(30);
        EXPECT_EQ(family.runs[0](src.data(), 4, dst.data(), 6, {0, 0}, {7, 5}, 1, nullptr, block.spec(),
                                 buffer.data()),
                  ippStsSizeWrn);
        EXPECT_TRUE(dst.intact());
        EXPECT_EQ(std::vector<Ipp8u>(dst.data(), dst.data() + 30), std::vector<Ipp8u>(30, 9));
    }
}

#if !defined(DORN_PORTABLE_PRIMITIVES)

// Restores the control word of the test's thread.
class ControlWord : public testing::Test {
protected:
    void TearDown() override { _mm_setcsr(before_); }

private:
    std::uint32_t before_ = _mm_getcsr();
};

TEST_F(ControlWord, FlushToZeroHoldsForItsScopeAndPutsBackWhatTheCallerHad) {
    constexpr std::uint32_t plain = 0x1F80;
    constexpr std::uint32_t denormalsAreZero = 0x40;
    constexpr std::uint32_t roundUp = 0x4000;
    for (const std::uint32_t word : {plain, plain | 0x8000, plain | 0x10, plain & ~0x800U,
                                     plain | 0x8010 | roundUp | denormalsAreZero}) {
        volatile float tiny = 0x1p-100F;
        float inside = 1;
        std::uint32_t during = 0;
        _mm_setcsr(word);
        {
            const primitives::FlushToZero guard;
            inside = tiny * tiny * 0x1p60F;
            during = _mm_getcsr();
        }
        const std::uint32_t after = _mm_getcsr();
        _mm_setcsr(plain);
        EXPECT_EQ(inside, 0.0F);
        EXPECT_EQ(during & 0x8800, 0x8800U);
        constexpr std::uint32_t inexact = 0x20; // raised by any arithmetic
        EXPECT_EQ(after & ~inexact, word);
    }
}

#endif

} // namespace
