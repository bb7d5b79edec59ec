// Cubic and Lanczos resize.

#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "ResizeCases.h"
#include "ResizeTapsReference.h"
#include "VariantTest.h"
#if !defined(DORN_PORTABLE_PRIMITIVES)
#include <xmmintrin.h>
#endif

using namespace resize_reference;

namespace {

constexpr int kCases = 150;

// A method with its parameters: those of the cubic kernel, or the number of lobes of the Lanczos one.
struct Method {
    std::int32_t code;
    int lobes;
    float b;
    float c;
};

constexpr Method kMethods[] = {
    {ippCubic, 2, 1.0F, 0.0F},  {ippLanczos, 3, 0, 0}, {ippCubic, 2, 0.0F, 0.5F},
    {ippCubic, 2, 0.5F, 0.3F},  {ippLanczos, 2, 0, 0}, {ippCubic, 2, 0.2F, 0.7F},
    {ippCubic, 2, 0.0F, -3e8F},
};

ResizeFunction functionOf(const Method& method, int channels) {
    const bool isCubic = method.code == ippCubic;
    switch (channels) {
    case 1:
        return isCubic ? ippiResizeCubic_8u_C1R : ippiResizeLanczos_8u_C1R;
    case 3:
        return isCubic ? ippiResizeCubic_8u_C3R : ippiResizeLanczos_8u_C3R;
    default:
        return isCubic ? ippiResizeCubic_8u_C4R : ippiResizeLanczos_8u_C4R;
    }
}

PlanBlock makePlan(const Method& method, IppiSize src, IppiSize dst, std::size_t misalignment) {
    return {src, dst, method.code, misalignment, [&](IppiResizeSpec* spec, Ipp8u* initBuffer) {
                return method.code == ippCubic
                           ? ippiResizeCubicInit_8u(src, dst, method.b, method.c, spec, initBuffer)
                           : ippiResizeLanczosInit_8u(src, dst, static_cast<std::uint32_t>(method.lobes),
                                                      spec, initBuffer);
            }};
}

class ResizeTaps : public VariantTest {
protected:
    static Order orderOf(const Method& method) {
        if (GetParam() < 5) {
            return Order::leftToRight;
        }
        return method.code == ippCubic ? Order::fusedPairs : Order::fused;
    }

    static void expectReference(const Method& method, const ResizeCase& test, const Source& source) {
        PlanBlock plan = makePlan(method, test.src, test.dst, test.misalignment);
        ASSERT_EQ(plan.status(), ippStsNoErr);
        const Axis axisX(test.src.width, test.dst.width);
        const Axis axisY(test.src.height, test.dst.height);
        const int taps = 2 * method.lobes;
        runResizeCase(test, source, plan, functionOf(method, test.channels),
                      [&](int x, int y, int channel, std::uint8_t sample) {
                          ASSERT_EQ(sample,
                                    tapSample(source, axisX, axisY, plan.plan().axisX.coef32f + x * taps,
                                              plan.plan().axisY.coef32f + y * taps, method.lobes,
                                              orderOf(method), x, y, channel))
                              << "at " << x << ", " << y << ", channel " << channel;
                      });
    }
};
INSTANTIATE_VARIANTS(ResizeTaps);

TEST_P(ResizeTaps, GivesTheReferencesPixels) {
    std::mt19937 random(977);
    for (int i = 0; i < rounds(kCases) && !HasFatalFailure(); ++i) {
        const Method& method = kMethods[random() % std::size(kMethods)];
        const ResizeCase test = randomResize(random, 2 * method.lobes);
        SCOPED_TRACE(test.text() + " method " + std::to_string(&method - kMethods));
        const SourceMemory memory(random, test, method.lobes);
        expectReference(method, test, memory.source());
    }
}

// Rows of several parts, and every way to the bytes of a row: enlarged, reduced to a half and further. In the
// last row the strips are wider than a part.
TEST_P(ResizeTaps, GivesTheReferencesPixelsInWideRows) {
    constexpr int widths[][2] = {{1240, 2480}, {1009, 3013}, {2900, 1401},
                                 {4400, 1097}, {9000, 1050}, {7, 2503}};
    std::mt19937 random(5);
    for (const auto& width : widths) {
        for (const int channels : {1, 3, 4}) {
            const Method& method = kMethods[random() % 2];
            const IppiSize dst{width[1], 9};
            const ResizeCase test{{width[0], 7}, dst, channels, 1, {0, 0}, dst, 0, 0, 63, false};
            SCOPED_TRACE(test.text());
            const SourceMemory memory(random, test, 0);
            expectReference(method, test, memory.source());
            if (HasFatalFailure()) {
                return;
            }
        }
    }
}

TEST_P(ResizeTaps, PlansHoldTheReferencesTables) {
    std::mt19937 random(404);
    for (int i = 0; i < 200; ++i) {
        const Method& method = kMethods[static_cast<std::size_t>(i) % std::size(kMethods)];
        const int taps = 2 * method.lobes;
        const IppiSize src{taps + static_cast<int>(random() % 900), taps};
        const IppiSize dst{1 + static_cast<int>(random() % 900), 1 + static_cast<int>(random() % 3)};
        PlanBlock block = makePlan(method, src, dst, random() % 64);
        ASSERT_TRUE(block.intact());
        const IppiResizeSpec& plan = block.plan();
        const auto side = static_cast<std::uint32_t>(method.lobes);
        const auto code = static_cast<std::uint32_t>(method.code);
        const std::uint32_t expectedHead[] = {
            IPP_RESIZE_MAGIC, 13, code, side, side, 0, side, side, side, side};
        ASSERT_EQ(std::memcmp(&plan, expectedHead, sizeof expectedHead), 0);
        ASSERT_EQ(plan.axisX.index, plan.axisY.index + dst.height);
        const Axis axis(src.width, dst.width);
        std::uint32_t counts[2] = {0, 0};
        for (int d = 0; d < dst.width; ++d) {
            ASSERT_EQ(plan.axisX.index[d], axis.index(d));
            counts[0] += axis.reachesBelow(d, method.lobes) ? 1 : 0;
            counts[1] += axis.reachesBeyond(d, method.lobes) ? 1 : 0;
            const float* weights = plan.axisX.coef32f + d * taps;
            const auto fraction = static_cast<float>(axis.fraction(d));
            if (method.code == ippCubic) {
                ASSERT_EQ(Weights(weights, weights + taps), cubicWeights(fraction, method.b, method.c));
                continue;
            }
            const Weights expected = lanczosWeights(fraction, method.lobes);
            for (int tap = 0; tap < taps; ++tap) {
                const float weight = expected[static_cast<std::size_t>(tap)];
                ASSERT_NEAR(weights[tap], weight, lanczosSlack(weight, tap));
            }
        }
        ASSERT_EQ(plan.axisX.leadCount, counts[0]);
        ASSERT_EQ(plan.axisX.trailCount, counts[1]);
    }
}

#if !defined(DORN_PORTABLE_PRIMITIVES)

// Weights below the least normal number are 0 in variants 1 to 7, and callers find their control word as it
// was.
TEST_P(ResizeTaps, InitFlushesToZero) {
    const std::uint32_t before = _mm_getcsr();
    for (const std::uint32_t word : {0x1F80U, 0x9FA0U | 0x4000U}) {
        _mm_setcsr(word);
        PlanBlock block = makePlan({ippCubic, 2, 0.0F, 1e-39F}, {40, 40}, {60, 60}, 0);
        const std::uint32_t after = _mm_getcsr();
        _mm_setcsr(before);
        constexpr std::uint32_t flags = 0x3F;
        EXPECT_EQ(after & ~flags, word & ~flags);
        EXPECT_TRUE(GetParam() == 0 || (after & 0x10) == (word & 0x10));
        const bool isFlushed = GetParam() > 0 || (word & 0x8000) != 0;
        std::uint32_t bits = 0;
        std::memcpy(&bits, block.plan().axisX.coef32f, sizeof bits);
        EXPECT_EQ((bits & 0x7FFFFFFF) == 0, isFlushed);
    }
}

#endif

TEST(ResizeTapsInit, ChecksInOrder) {
    struct Row {
        IppiSize src;
        IppiSize dst;
        std::uint32_t lobes;
        IppStatus cubic;
        IppStatus lanczos;
    };
    const Row rows[] = {
        {{0, -1}, {-1, 4}, 1, ippStsNoOperation, ippStsNoOperation},
        {{-1, 4}, {4, 0}, 1, ippStsNoOperation, ippStsNoOperation},
        {{4, 4}, {4, -1}, 1, ippStsSizeErr, ippStsSizeErr},
        {{3, 3}, {4, 4}, 1, ippStsSizeErr, ippStsNotSupportedModeErr},
        {{8, 8}, {4, 4}, 4, ippStsNoErr, ippStsNotSupportedModeErr},
        {{8, 8}, {4, 4}, 0xFFFFFFFF, ippStsNoErr, ippStsNotSupportedModeErr},
        {{3, 8}, {4, 4}, 2, ippStsSizeErr, ippStsSizeErr},
        {{8, 3}, {4, 4}, 2, ippStsSizeErr, ippStsSizeErr},
        {{5, 8}, {4, 4}, 3, ippStsNoErr, ippStsSizeErr},
        {{8, 5}, {4, 4}, 3, ippStsNoErr, ippStsSizeErr},
        {{5, 5}, {4, 4}, 2, ippStsNoErr, ippStsNoErr},
        {{6, 6}, {1, 1}, 3, ippStsNoErr, ippStsNoErr},
    };
    alignas(64) Ipp8u block[2048];
    alignas(64) Ipp8u scratch[512];
    auto* spec = reinterpret_cast<IppiResizeSpec*>(block);
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(ippiResizeCubicInit_8u(row.src, row.dst, 1, 0, nullptr, scratch), ippStsNullPtrErr);
        EXPECT_EQ(ippiResizeCubicInit_8u(row.src, row.dst, 1, 0, spec, nullptr), ippStsNullPtrErr);
        EXPECT_EQ(ippiResizeCubicInit_8u(row.src, row.dst, 1, 0, spec, scratch), row.cubic);
        EXPECT_EQ(ippiResizeLanczosInit_8u(row.src, row.dst, row.lobes, nullptr, scratch), ippStsNullPtrErr);
        EXPECT_EQ(ippiResizeLanczosInit_8u(row.src, row.dst, row.lobes, spec, nullptr), ippStsNullPtrErr);
        EXPECT_EQ(ippiResizeLanczosInit_8u(row.src, row.dst, row.lobes, spec, scratch), row.lanczos);
    }
    // A plan that Init refused isn't run.
    Ipp8u pixels[2048] = {};
    for (const std::uint32_t lobes : {4U, 3U}) {
        const IppStatus expected = lobes == 3 ? ippStsContextMatchErr : ippStsNotSupportedModeErr;
        EXPECT_LT(ippiResizeLanczosInit_8u({5, 5}, {4, 4}, lobes, spec, scratch), 0);
        EXPECT_EQ(ippiResizeLanczos_8u_C1R(pixels, 5, pixels, 5, {0, 0}, {4, 4}, 1, nullptr, spec, scratch),
                  expected);
    }
}

} // namespace
