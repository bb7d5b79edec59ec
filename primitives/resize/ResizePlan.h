#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZEPLAN_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZEPLAN_H

// How the Init functions build a plan: its head, its tables, and the rule by which destination positions map
// to source positions.

#include <cstddef>
#include <cstdint>

#include "primitives/resize/FlushToZero.h"
#include "primitives/resize/ResizeSpec.h"

namespace primitives {

// The plan in the block that a caller hands in; null for null.
inline const IppiResizeSpec* resizePlan(const IppiResizeSpec* spec) {
    constexpr std::uintptr_t mask = IPP_RESIZE_ALIGNMENT - 1;
    return reinterpret_cast<const IppiResizeSpec*>((reinterpret_cast<std::uintptr_t>(spec) + mask) & ~mask);
}

inline IppiResizeSpec* resizePlan(IppiResizeSpec* spec) {
    return const_cast<IppiResizeSpec*>(resizePlan(static_cast<const IppiResizeSpec*>(spec)));
}

inline bool exceedsDestination(const IppiResizeSpec& plan, IppiSize size) {
    return std::int64_t{size.width} > plan.axisX.dstSize || std::int64_t{size.height} > plan.axisY.dstSize;
}

// Places tables behind a plan, one after the other.
class ResizeTables {
public:
    explicit ResizeTables(IppiResizeSpec& plan) : next_(reinterpret_cast<std::uint8_t*>(&plan + 1)) {}

    // Room for `count` elements at the next multiple of `alignment` bytes.
    template <typename T>
    T* place(std::size_t count, std::size_t alignment = alignof(T)) {
        next_ += (alignment - reinterpret_cast<std::uintptr_t>(next_) % alignment) % alignment;
        T* table = reinterpret_cast<T*>(next_);
        next_ += count * sizeof(T);
        return table;
    }

private:
    std::uint8_t* next_;
};

// Writes everything but tables and counts, which are null and 0. Wants sizes that checkResizeSizes accepts.
void beginResizePlan(IppiResizeSpec& plan, IppiSize srcSize, IppiSize dstSize, std::uint32_t interpolation,
                     std::uint32_t taps);

// Source extent by destination extent.
inline double resizeRatio(const IppiResizeAxis& axis) {
    return static_cast<double>(axis.srcReduced) / static_cast<double>(axis.dstReduced);
}

// Fills `axis.index` and both counts for a method with `taps` taps on each side, and hands each position's
// fraction to `store(position, fraction)` in ascending order. The centre of destination pixel d lies at
// (d + 0.5) * ratio - 0.5 in the source; product and difference are rounded to f64 one by one, so this must
// not be compiled into a fused operation.
template <typename Store>
void fillResizeAxis(IppiResizeAxis& axis, std::uint32_t taps, Store store) {
    const double ratio = resizeRatio(axis);
    const double lead = static_cast<double>(taps) - 1.0;
    const double trail = static_cast<double>(axis.srcSize) - static_cast<double>(taps);
    axis.leadCount = 0;
    axis.trailCount = 0;
    for (std::uint32_t d = 0; d < axis.dstSize; ++d) {
        const double position = (static_cast<double>(d) + 0.5) * ratio - 0.5;
        const auto toZero = static_cast<std::int32_t>(position);
        const std::int32_t index = position < toZero ? toZero - 1 : toZero;
        axis.index[d] = index;
        axis.leadCount += position < lead ? 1 : 0;
        axis.trailCount += position >= trail ? 1 : 0;
        store(d, position - index);
    }
}

// Runs `build`, which fills the coefficient tables, with denormal results flushed to zero in variants 1 to 7.
// `build` has to be a call of a function that isn't inlined, so that no arithmetic moves out of this one.
template <int variant, typename Build>
void buildFlushed(Build build) {
    if constexpr (variant > 0) {
        const FlushToZero guard;
        build();
    } else {
        build();
    }
}

} // namespace primitives

#endif
