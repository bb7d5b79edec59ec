#ifndef DORNIMAGE_PRIMITIVES_RESIZE_TAPPLAN_H
#define DORNIMAGE_PRIMITIVES_RESIZE_TAPPLAN_H

// What the plans of the cubic and Lanczos methods have in common.

#include "primitives/resize/ResizePlan.h"

namespace primitives {

// The fractions of all destination positions, in the scratch block of an Init function.
struct TapFractions {
    float* y;
    float* x;
};

// Writes both index tables, the first ones behind the plan, and the counts.
inline TapFractions fillTapAxes(IppiResizeSpec& plan, ResizeTables& tables, Ipp8u* initBuf) {
    constexpr std::uintptr_t mask = IPP_RESIZE_ALIGNMENT - 1;
    TapFractions fractions{};
    fractions.y = reinterpret_cast<float*>((reinterpret_cast<std::uintptr_t>(initBuf) + mask) & ~mask);
    fractions.x = fractions.y + plan.axisY.dstSize;
    plan.axisY.index = tables.place<std::int32_t>(plan.axisY.dstSize);
    plan.axisX.index = tables.place<std::int32_t>(plan.axisX.dstSize);
    fillResizeAxis(plan.axisY, plan.tapsY,
                   [&](std::uint32_t d, double fraction) { fractions.y[d] = static_cast<float>(fraction); });
    fillResizeAxis(plan.axisX, plan.tapsX,
                   [&](std::uint32_t d, double fraction) { fractions.x[d] = static_cast<float>(fraction); });
    return fractions;
}

// Places both tables of weights, and lets weigh(fraction, weights) write those of each position.
template <typename Weigh>
void fillTapWeights(IppiResizeSpec& plan, ResizeTables& tables, const TapFractions& fractions, Weigh weigh) {
    constexpr std::size_t alignment = 32;
    const std::size_t taps = 2 * std::size_t{plan.tapsX};
    plan.axisY.coef32f = tables.place<float>(taps * plan.axisY.dstSize, alignment);
    plan.axisX.coef32f = tables.place<float>(taps * plan.axisX.dstSize, alignment);
    for (std::uint32_t d = 0; d < plan.axisY.dstSize; ++d) {
        weigh(fractions.y[d], plan.axisY.coef32f + taps * d);
    }
    for (std::uint32_t d = 0; d < plan.axisX.dstSize; ++d) {
        weigh(fractions.x[d], plan.axisX.coef32f + taps * d);
    }
}

} // namespace primitives

#endif
