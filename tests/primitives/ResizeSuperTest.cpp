#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ResizeCases.h"
#include "ResizeSuperReference.h"
#include "VariantTest.h"
#if !defined(DORN_PORTABLE_PRIMITIVES)
#include <xmmintrin.h>
#endif

using namespace super_reference;

namespace {

using SuperFunction = IppStatus (*)(const Ipp8u*, std::int32_t, Ipp8u*, std::int32_t, IppiPoint, IppiSize,
                                    const IppiResizeSpec*, Ipp8u*);

SuperFunction superFunction(int channels) {
    return channels == 1   ? ippiResizeSuper_8u_C1R
           : channels == 3 ? ippiResizeSuper_8u_C3R
                           : ippiResizeSuper_8u_C4R;
}

PlanBlock makeSuperPlan(IppiSize src, IppiSize dst, std::size_t misalignment) {
    return {src, dst, ippSuper, misalignment,
            [=](IppiResizeSpec* spec, Ipp8u*) { return ippiResizeSuperInit_8u(src, dst, spec); }};
}

void expectReference(std::mt19937& random, const ResizeCase& test, bool isFused) {
    SCOPED_TRACE(test.text());
    const SourceMemory memory(random, test, 0);
    PlanBlock plan = makeSuperPlan(test.src, test.dst, test.misalignment);
    ASSERT_EQ(plan.status(), ippStsNoErr);
    const Axis axisX(test.src.width, test.dst.width);
    const Axis axisY(test.src.height, test.dst.height);
    runResizeTile(
        test, memory.source(), {axisX.at(test.offset.x, 0).index, axisY.at(test.offset.y, 0).index}, plan,
        [&](const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep, Ipp8u* buffer) {
            return superFunction(test.channels)(src, srcStep, dst, dstStep, test.offset, test.tile,
                                                plan.spec(), buffer);
        },
        [&](int x, int y, int channel, std::uint8_t sample) {
            ASSERT_EQ(sample, superSample(memory.source(), axisX, axisY, x, y, channel, isFused))
                << "at " << x << ", " << y << ", channel " << channel;
        });
}

ResizeCase randomReduction(std::mt19937& random) {
    ResizeCase test = randomResize(random, 1);
    test.border = ippBorderRepl;
    const auto order = [&](int& src, int& dst, int& offset, int& tile) {
        if (dst > src) {
            std::swap(dst, src);
        }
        if (random() % 3 == 0) {
            src = dst * (1 + static_cast<int>(random() % 9));
        }
        offset %= dst;
        tile = std::min(tile, dst);
    };
    order(test.src.width, test.dst.width, test.offset.x, test.tile.width);
    order(test.src.height, test.dst.height, test.offset.y, test.tile.height);
    return test;
}

class ResizeSuper : public VariantTest {
protected:
    static bool isFused() { return GetParam() >= 5; }
};
INSTANTIATE_VARIANTS(ResizeSuper);

TEST_P(ResizeSuper, GivesTheReferencesPixels) {
    std::mt19937 random(2207);
    for (int i = 0; i < rounds(400) && !HasFatalFailure(); ++i) {
        expectReference(random, randomReduction(random), isFused());
    }
}

// Rows longer than what is summed at once, pixels wider than that, ratios close to 1, sums beyond 16 bits.
TEST_P(ResizeSuper, GivesTheReferencesPixelsAtAwkwardRatios) {
    constexpr IppiSize sizes[][2] = {{{2480, 14}, {827, 5}}, {{3001, 4}, {2999, 3}}, {{9001, 3}, {2, 2}},
                                     {{5003, 2}, {1, 1}},    {{4400, 9}, {2200, 9}}, {{3000, 6}, {3000, 4}},
                                     {{4097, 3}, {4097, 3}}, {{20, 3000}, {7, 2}},   {{1600, 40}, {400, 10}},
                                     {{300, 260}, {100, 2}}, {{64, 800}, {16, 2}},   {{1500, 9}, {1000, 9}},
                                     {{2600, 520}, {8, 2}},  {{200, 256}, {100, 2}}};
    std::mt19937 random(6);
    for (const auto& size : sizes) {
        for (const int channels : {1, 3, 4}) {
            expectReference(random, {size[0], size[1], channels, 1, {0, 0}, size[1], 0, 0, 63, false},
                            isFused());
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_P(ResizeSuper, GivesTheReferencesPixelsAtWholeRatios) {
    std::mt19937 random(77);
    constexpr int channels[] = {1, 3, 4};
    constexpr int counts[] = {1, 2, 2, 3, 4, 4, 7, 8, 12, 16};
    for (int i = 0; i < rounds(150) && !HasFatalFailure(); ++i) {
        const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
        const IppiSize dst{1 + below(i % 8 == 0 ? 400 : 140), 1 + below(3)};
        const IppiSize src{dst.width * counts[below(10)],
                           dst.height * (i % 10 == 0 ? 130 : counts[below(10)])};
        const auto padding = static_cast<std::size_t>(below(8));
        expectReference(random,
                        {src, dst, channels[below(3)], 1, {0, 0}, dst, padding, padding, 1, i % 2 == 0},
                        isFused());
    }
}

TEST_P(ResizeSuper, KeepsFlatImages) {
    for (const IppiSize dst : {IppiSize{400, 1}, {399, 97}, {287, 60}, {133, 33}, {3, 100}, {1, 1}}) {
        for (const int value : {1, 128, 255}) {
            PlanBlock plan = makeSuperPlan({400, 100}, dst, 0);
            const std::vector<Ipp8u> src(400 * 100, static_cast<Ipp8u>(value));
            std::vector<Ipp8u> result(static_cast<std::size_t>(dst.width * dst.height));
            std::vector<Ipp8u> buffer(plan.bufferSize(dst, 1));
            ASSERT_EQ(ippiResizeSuper_8u_C1R(src.data(), 400, result.data(), dst.width, {0, 0}, dst,
                                             plan.spec(), buffer.data()),
                      ippStsNoErr);
            EXPECT_EQ(result, std::vector<Ipp8u>(result.size(), static_cast<Ipp8u>(value))) << dst.width;
        }
    }
}

// Blocks of exactly the reported size have little to spare.
TEST_P(ResizeSuper, PlansHoldTheReferencesTablesAtEveryMisalignment) {
    std::mt19937 random(11);
    for (int i = 0; i < rounds(640); ++i) {
        const auto extent = [&] { return 1 + static_cast<int>(random() % (i % 4 == 0 ? 900 : 40)); };
        const IppiSize dst{extent(), extent()};
        const IppiSize src{dst.width + extent() - 1, dst.height * (1 + i % 3) + extent() % 2};
        PlanBlock block = makeSuperPlan(src, dst, static_cast<std::size_t>(i % 64));
        ASSERT_EQ(block.status(), ippStsNoErr);
        ASSERT_TRUE(block.intact()) << src.width << "x" << src.height << " to " << dst.width;
        const IppiResizeSpec& plan = block.plan();
        const std::pair<const IppiResizeAxis*, Axis> axes[] = {{&plan.axisX, Axis(src.width, dst.width)},
                                                               {&plan.axisY, Axis(src.height, dst.height)}};
        for (const auto& [axis, expected] : axes) {
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(axis->coef32f) % 32, 0U);
            for (std::size_t k = 0; k < expected.entries.size(); ++k) {
                ASSERT_EQ(axis->index[k], expected.entries[k].index);
                ASSERT_EQ(axis->coef32f[k], expected.entries[k].weight);
            }
        }
        ASSERT_EQ(static_cast<const void*>(plan.axisY.index), &plan + 1);
        ASSERT_EQ(plan.axisX.index, plan.axisY.index + axes[1].second.entries.size());
    }
    PlanBlock block = makeSuperPlan({5, 3}, {3, 2}, 1);
    const float x[] = {1.0F, 2.0F / 3, 0, 1.0F / 3, 1, 1.0F / 3, 2.0F / 3, 1, 0};
    const float y[] = {1.0F, 0.5F, 0.5F, 1.0F};
    for (std::size_t k = 0; k < 9; ++k) {
        EXPECT_FLOAT_EQ(block.plan().axisX.coef32f[k], x[k]);
    }
    EXPECT_EQ(std::memcmp(block.plan().axisY.coef32f, y, sizeof y), 0);
    const std::uint32_t head[] = {0x4B617389, 13, 8, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(&block.plan(), head, sizeof head), 0);
    EXPECT_EQ(block.plan().axisX.leadCount + block.plan().axisX.trailCount, 0U);
}

#if !defined(DORN_PORTABLE_PRIMITIVES)
TEST_P(ResizeSuper, InitPutsTheControlWordBack) {
    const std::uint32_t before = _mm_getcsr();
    for (const std::uint32_t word : {0x1F80U, 0x9FC0U, 0x1F80U & ~0x800U}) {
        _mm_setcsr(word);
        PlanBlock plan = makeSuperPlan({100, 70}, {37, 31}, 5);
        const std::uint32_t after = _mm_getcsr();
        _mm_setcsr(before);
        EXPECT_EQ(after & ~0x20U, word); // any arithmetic raises that flag
    }
}
#endif

TEST(ResizeSuperStatus, InitChecksInOrder) {
    struct Row {
        IppiSize src;
        IppiSize dst;
        IppStatus status;
    };
    const Row rows[] = {
        {{0, -1}, {-1, 4}, ippStsNoOperation}, {{-1, 4}, {4, 0}, ippStsNoOperation},
        {{4, 4}, {5, -1}, ippStsSizeErr},      {{100, 100}, {101, 100}, ippStsSizeErr},
        {{9, 4}, {4, 5}, ippStsSizeErr},       {{1, 1}, {1, 1}, ippStsNoErr},
    };
    alignas(64) std::uint8_t block[2048];
    auto* spec = reinterpret_cast<IppiResizeSpec*>(block);
    for (const Row& row : rows) {
        EXPECT_EQ(ippiResizeSuperInit_8u(row.src, row.dst, spec), row.status);
        EXPECT_EQ(ippiResizeSuperInit_8u(row.src, row.dst, nullptr), ippStsNullPtrErr);
    }
}

TEST(ResizeSuperStatus, RunsCheckInOrder) {
    struct Call {
        IppiSize tile{3, 2};
        IppiPoint offset{0, 0};
        std::uint32_t magic = IPP_RESIZE_MAGIC;
        std::uint32_t antialiasing = 0;
        std::uint32_t method = ippSuper;
        int missing = -1;
    };
    struct Row {
        IppStatus status;
        void (*spoil)(Call& call);
    };
    // From the last test to the first: the spoils add up, and the first test that fails decides.
    const Row rows[] = {
        {ippStsNoErr, [](Call&) {}},
        {ippStsSizeWrn, [](Call& c) { c.tile.height = 3; }},
        {ippStsContextMatchErr, [](Call& c) { c.method = ippLinear; }},
        {ippStsNotSupportedModeErr, [](Call& c) { c.antialiasing = 1; }},
        {ippStsOutOfRangeErr, [](Call& c) { c.offset.y = 2; }},
        {ippStsOutOfRangeErr, [](Call& c) { c.offset.y = -1; }},
        {ippStsSizeErr, [](Call& c) { c.tile.width = -1; }},
        {ippStsContextMatchErr, [](Call& c) { c.magic = 1; }},
        {ippStsNoOperation, [](Call& c) { c.tile.height = 0; }},
        {ippStsNullPtrErr, [](Call& c) { c.missing = 3; }},
        {ippStsNullPtrErr, [](Call& c) { c.missing = 2; }},
        {ippStsNullPtrErr, [](Call& c) { c.missing = 1; }},
        {ippStsNullPtrErr, [](Call& c) { c.missing = 0; }},
    };
    for (const int channels : {1, 3, 4}) {
        PlanBlock block = makeSuperPlan({6, 4}, {3, 2}, 0);
        std::vector<Ipp8u> src(4 * 24, 9);
        std::vector<Ipp8u> buffer(block.bufferSize({3, 2}, channels));
        Call call;
        for (const Row& row : rows) {
            SCOPED_TRACE(&row - rows);
            row.spoil(call);
            IppiResizeSpec* spec = block.spec();
            spec->magic = call.magic;
            spec->antialiasing = call.antialiasing;
            spec->interpolation = call.method;
            GuardedBytes dst(24);
            EXPECT_EQ(superFunction(channels)(call.missing == 0 ? nullptr : src.data(), 24,
                                              call.missing == 1 ? nullptr : dst.data(), 12, call.offset,
                                              call.tile, call.missing == 2 ? nullptr : spec,
                                              call.missing == 3 ? nullptr : buffer.data()),
                      row.status);
            EXPECT_TRUE(dst.intact());
            EXPECT_EQ(dst.data()[0],
                      row.status >= 0 && row.status != ippStsNoOperation ? 9 : GuardedBytes::kPattern);
        }
    }
}

} // namespace
