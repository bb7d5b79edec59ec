#include "primitives/resize/ResizeCubic.h"

#include <cmath>

#include "primitives/core/Dispatch.h"
#include "primitives/resize/ResizeSizing.h"
#include "primitives/resize/TapPlan.h"
#include "primitives/resize/TapRun.h"

namespace primitives {

namespace {

constexpr std::uint32_t kSideTaps = 2;
constexpr int kTaps = 4;
constexpr std::int32_t kLeastSource = 4;

// The kernel for distances below 1, and from there to below 2. Three pairs of parameters have their constants
// folded, which gives other last places than the general form.
struct BSpline {
    static double near(double t) { return (0.5 * t * t - t) * t + 2.0 / 3.0; }
    static double far(double t) { return (-1.0 / 6.0 * t * t + t) * t + (4.0 / 3.0 - t - t); }
};

struct CatmullRom {
    static double near(double t) { return (1.5 * t - 2.5) * (t * t) + 1.0; }
    static double far(double t) { return ((-0.5 * t + 2.5) * t - 4.0) * t + 2.0; }
};

// B = 0.5, C = 0.3.
struct Between {
    static double near(double t) { return (0.95 * t - 1.7) * (t * t) + 5.0 / 6.0; }
    static double far(double t) {
        return ((-0.38333333333333336 * t + 2.0) * t - 3.4) * t + 1.8666666666666667;
    }
};

class General {
public:
    General(double b, double c)
        : nearCube_(2.0 - 1.5 * b - c), nearSquare_(-3.0 + 2.0 * b + c), nearOne_(1.0 - b / 3.0),
          farCube_(-b / 6.0 - c), farSquare_(b + 5.0 * c), farLine_(2.0 * b + 8.0 * c),
          farOne_(4.0 / 3.0 * b + 4.0 * c) {}

    double near(double t) const { return (nearCube_ * t + nearSquare_) * (t * t) + nearOne_; }
    double far(double t) const { return ((farCube_ * t + farSquare_) * t - farLine_) * t + farOne_; }

private:
    double nearCube_;
    double nearSquare_;
    double nearOne_;
    double farCube_;
    double farSquare_;
    double farLine_;
    double farOne_;
};

template <typename Kernel>
float weightAt(const Kernel& kernel, float distance) {
    const double t = std::fabs(distance);
    return t < 1.0 ? static_cast<float>(kernel.near(t)) : t < 2.0 ? static_cast<float>(kernel.far(t)) : 0.0F;
}

template <typename Kernel>
void fillCubicWeights(IppiResizeSpec& plan, ResizeTables& tables, const TapFractions& fractions,
                      const Kernel& kernel) {
    fillTapWeights(plan, tables, fractions, [&kernel](float fraction, float* weights) {
        const float first = -1.0F - fraction;
        weights[0] = weightAt(kernel, first);
        weights[1] = weightAt(kernel, 1.0F + first);
        weights[2] = weightAt(kernel, 2.0F + first);
        weights[3] = weightAt(kernel, first + 3.0F);
    });
}

[[gnu::noinline]] void buildCubicTables(IppiResizeSpec& plan, float b, float c, Ipp8u* initBuf) {
    ResizeTables tables(plan);
    const TapFractions fractions = fillTapAxes(plan, tables, initBuf);
    if (b == 0.0F && c == 0.5F) {
        fillCubicWeights(plan, tables, fractions, CatmullRom());
    } else if (b == 1.0F && c == 0.0F) {
        fillCubicWeights(plan, tables, fractions, BSpline());
    } else if (b == 0.5F && c == 0.3F) {
        fillCubicWeights(plan, tables, fractions, Between());
    } else {
        fillCubicWeights(plan, tables, fractions, General(b, c));
    }
}

template <int variant>
struct ResizeCubicInit {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, float valueB, float valueC, IppiResizeSpec* spec,
                         Ipp8u* initBuf) {
        if (!spec || !initBuf) {
            return ippStsNullPtrErr;
        }
        if (const IppStatus status = checkResizeSizes(srcSize, dstSize); status != ippStsNoErr) {
            return status;
        }
        if (srcSize.width < kLeastSource || srcSize.height < kLeastSource) {
            return ippStsSizeErr;
        }
        IppiResizeSpec& plan = *resizePlan(spec);
        beginResizePlan(plan, srcSize, dstSize, ippCubic, kSideTaps);
        buildFlushed<variant>([&] { buildCubicTables(plan, valueB, valueC, initBuf); });
        return ippStsNoErr;
    }
};

// Whether the absolute weights at each position of a tile add up to `limit` at most.
bool isWithin(const ResizeSpan& span, double limit) {
    const float* weights = span.axis->coef32f + static_cast<std::size_t>(span.offset) * kTaps;
    for (std::int32_t i = 0; i < span.size; ++i, weights += kTaps) {
        const float sum =
            std::fabs(weights[0]) + std::fabs(weights[1]) + std::fabs(weights[2]) + std::fabs(weights[3]);
        if (!(sum <= limit)) { // not a number either
            return false;
        }
    }
    return true;
}

// Whether pixels may come out so large that they don't fit an integer of 32 bits before they are clamped.
bool isLarge(const ResizeTile& tile) {
    constexpr double limit = 2048.0; // 255 times its square is below 2^30
    return !isWithin(tile.x, limit) || !isWithin(tile.y, limit);
}

template <std::int32_t channels>
struct ResizeCubic {
    template <int variant>
    struct Entry {
        static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                             IppiPoint dstOffset, IppiSize dstSize, std::uint32_t border, const Ipp8u*,
                             const IppiResizeSpec* spec, Ipp8u* buffer) {
            const ResizeCall call{src, srcStep, dst, dstStep, dstOffset, dstSize, resizePlan(spec), buffer};
            if (const IppStatus status = checkResizeBorder(border); status != ippStsNoErr) {
                return status;
            }
            if (const IppStatus status = checkResizeCall(call, ippCubic); status != ippStsNoErr) {
                return status;
            }
            const ResizeTile tile = makeResizeTile(call, border, channels);
            TapRun<variant, kTaps, channels>(tile, TapForm::cubic, isLarge(tile), buffer).run();
            return resizeDoneStatus(call);
        }
    };
};

} // namespace

} // namespace primitives

using namespace primitives;

IppStatus ippiResizeCubicInit_8u(IppiSize srcSize, IppiSize dstSize, float valueB, float valueC,
                                 IppiResizeSpec* spec, Ipp8u* initBuf) {
    return dispatch<ResizeCubicInit>(srcSize, dstSize, valueB, valueC, spec, initBuf);
}

IppStatus ippiResizeCubic_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                 const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeCubic<1>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                           borderValue, spec, buffer);
}

IppStatus ippiResizeCubic_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                 const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeCubic<3>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                           borderValue, spec, buffer);
}

IppStatus ippiResizeCubic_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                 const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeCubic<4>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                           borderValue, spec, buffer);
}
