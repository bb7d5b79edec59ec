#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "ResizeCases.h"
#include "ResizeReference.h"
#include "VariantTest.h"

using namespace resize_reference;

namespace {

constexpr int kCases = 700;

ResizeFunction linearFunction(int channels) {
    return channels == 1   ? ippiResizeLinear_8u_C1R
           : channels == 3 ? ippiResizeLinear_8u_C3R
                           : ippiResizeLinear_8u_C4R;
}

PlanBlock makeLinearPlan(const ResizeCase& test) {
    return {test.src, test.dst, ippLinear, test.misalignment,
            [&](IppiResizeSpec* spec, Ipp8u*) { return ippiResizeLinearInit_8u(test.src, test.dst, spec); }};
}

void expectReference(const ResizeCase& test, const Source& source, PlanBlock& plan, bool isFloat) {
    const Axis axisX(test.src.width, test.dst.width);
    const Axis axisY(test.src.height, test.dst.height);
    const auto reference = isFloat ? &linearSample<LinearFloat> : &linearSample<LinearFixed>;
    runResizeCase(test, source, plan, linearFunction(test.channels),
                  [&](int x, int y, int channel, std::uint8_t sample) {
                      ASSERT_EQ(sample, reference(source, axisX, axisY, x, y, channel))
                          << "at " << x << ", " << y << ", channel " << channel;
                  });
}

class ResizeLinear : public VariantTest {
protected:
    static bool isFloat() { return GetParam() <= 1; }
};
INSTANTIATE_VARIANTS(ResizeLinear);

TEST_P(ResizeLinear, GivesTheReferencesPixels) {
    std::mt19937 random(977);
    for (int i = 0; i < kCases; ++i) {
        const ResizeCase test = randomResize(random, 2);
        SCOPED_TRACE(test.text());
        const SourceMemory memory(random, test, 1);
        PlanBlock plan = makeLinearPlan(test);
        ASSERT_EQ(plan.status(), ippStsNoErr);
        expectReference(test, memory.source(), plan, isFloat());
        if (HasFatalFailure()) {
            return;
        }
    }
}

// Sides without common divisor, where a fused product or an index off by one shows.
TEST_P(ResizeLinear, GivesTheReferencesPixelsAtAwkwardRatios) {
    constexpr IppiSize sizes[][2] = {{{1009, 3}, {1013, 2}},   {{3, 997}, {2, 401}},   {{2, 2}, {1999, 700}},
                                     {{2000, 700}, {3, 3}},    {{641, 31}, {1283, 9}}, {{4093, 2}, {4091, 2}},
                                     {{1240, 17}, {2480, 34}}, {{257, 63}, {100, 64}}};
    std::mt19937 random(5);
    for (const auto& size : sizes) {
        for (const int channels : {1, 3, 4}) {
            const ResizeCase test{size[0], size[1], channels, 1, {0, 0}, size[1], 0, 0, 63, false};
            SCOPED_TRACE(test.text());
            const SourceMemory memory(random, test, 0);
            PlanBlock plan = makeLinearPlan(test);
            expectReference(test, memory.source(), plan, isFloat());
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

// Whatever variant is in force when a plan is built, another may run it.
TEST_P(ResizeLinear, FollowsThePlan) {
    std::mt19937 random(31);
    const ResizeCase test{{90, 20}, {131, 33}, 3, 1, {0, 0}, {131, 33}, 0, 0, 0, false};
    const SourceMemory memory(random, test, 0);
    const int variant = ippGetVariantIndex();
    for (const int builder : {0, 1, 2, 3}) {
        if (ippIsVariantBuilt(builder) == 0 || ippIsVariantRunnable(builder) == 0) {
            continue;
        }
        ASSERT_EQ(ippSetCpuFeatures(ippGetVariantFeatures(builder) | IPP_FEATURE_FORCE), ippStsNoErr);
        PlanBlock plan = makeLinearPlan(test);
        ASSERT_EQ(ippSetCpuFeatures(ippGetVariantFeatures(variant) | IPP_FEATURE_FORCE), ippStsNoErr);
        expectReference(test, memory.source(), plan, builder <= 1);
    }
}

// Positions next to an integer fall on its other side as soon as one rounding is missing.
TEST_P(ResizeLinear, TablesHoldTheReferencesPositions) {
    std::mt19937 random(404);
    for (int i = 0; i < 300; ++i) {
        const auto extent = [&](int least) { return least + static_cast<int>(random() % 2500); };
        const ResizeCase test{{extent(2), 2}, {extent(1), 1}, 1, 1, {0, 0}, {1, 1}, 0, 0, 0, false};
        PlanBlock block = makeLinearPlan(test);
        const IppiResizeAxis& x = block.plan().axisX;
        const Axis expected(test.src.width, test.dst.width);
        std::uint32_t counts[2] = {0, 0};
        for (int d = 0; d < test.dst.width; ++d) {
            ASSERT_EQ(x.index[d], expected.index(d)) << test.text() << ", column " << d;
            if (isFloat()) {
                ASSERT_EQ(x.coef32f[d], static_cast<float>(expected.fraction(d)));
            } else {
                ASSERT_EQ(x.coef16[2 * d + 1], LinearFixed::weight(expected.fraction(d)));
                ASSERT_EQ(x.coef16[2 * d], 16384 - x.coef16[2 * d + 1]);
            }
            counts[0] += expected.reachesBelow(d, 1) ? 1 : 0;
            counts[1] += expected.reachesBeyond(d, 1) ? 1 : 0;
        }
        ASSERT_EQ(x.leadCount, counts[0]);
        ASSERT_EQ(x.trailCount, counts[1]);
    }
}

TEST_P(ResizeLinear, PlansHaveTheirFieldsInPlace) {
    const ResizeCase test{{300, 2}, {400, 3}, 1, 1, {0, 0}, {400, 3}, 0, 0, 17, false};
    PlanBlock block = makeLinearPlan(test);
    const IppiResizeSpec& plan = block.plan();
    EXPECT_EQ(plan.magic, 0x4B617389U);
    const std::uint32_t head[] = {plan.tableType,  plan.interpolation, plan.tapsX,
                                  plan.tapsY,      plan.antialiasing,  plan.borderTop,
                                  plan.borderLeft, plan.borderBottom,  plan.borderRight};
    const std::uint32_t expected[] = {13, 2, 1, 1, 0, 1, 1, 1, 1};
    EXPECT_EQ(std::memcmp(head, expected, sizeof head), 0);
    EXPECT_EQ(plan.axisX.srcReduced, 3U);
    EXPECT_EQ(plan.axisX.dstReduced, 4U);
    EXPECT_EQ(plan.axisX.leadCount, 1U);
    EXPECT_EQ(plan.axisX.trailCount, 1U);
    EXPECT_EQ(static_cast<const void*>(plan.axisY.index), &plan + 1);
    EXPECT_EQ(plan.axisX.index, plan.axisY.index + 3);
    EXPECT_EQ(plan.axisX.index[2], 1); // (2.5 * 3 / 4) - 0.5 = 1.375
    EXPECT_EQ(plan.axisX.coef64f, nullptr);
    EXPECT_EQ(plan.axisX.reserved, nullptr);
    if (isFloat()) {
        EXPECT_EQ(plan.axisX.coef32f[2], 0.375F);
        EXPECT_EQ(plan.axisX.coef16, nullptr);
    } else {
        EXPECT_EQ(plan.axisX.coef32f, nullptr);
        EXPECT_EQ(plan.axisX.coef16[4], 10240);
        EXPECT_EQ(plan.axisX.coef16[5], 6144);
        EXPECT_EQ(plan.axisY.coef16[1], 8192); // 1.5 * 2 / 3 - 0.5
    }
}

} // namespace
