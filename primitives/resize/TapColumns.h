#ifndef DORNIMAGE_PRIMITIVES_RESIZE_TAPCOLUMNS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_TAPCOLUMNS_H

#include "primitives/resize/ResizeRun.h"
#include "primitives/resize/TapKernels.h"

namespace primitives {

// The tables of up to kTapSamples samples. They are used once per source row, beside the rows of the ring.
struct TapTables {
    alignas(64) float weights[kMostTaps * kTapSamples];
    alignas(64) std::uint8_t bytes[kMostTaps * kTapSamples]; // numbers, or what is gathered
    std::int32_t starts[kTapSamples / kTapGroup];
};

// Columns of a tile: `count` from `first` on, of which those from number `split` on lie `gap` columns
// further.
struct TapRange {
    std::int32_t first;
    std::int32_t count;
    std::int32_t split;
    std::int32_t gap;

    std::size_t pixels() const { return static_cast<std::size_t>(count); }
    // The column of number `i`.
    std::int32_t column(std::int32_t i) const { return first + i + (i < split ? 0 : gap); }
};

// Arranges columns of a tile, at most kTapSamples samples, for blocks of `block` samples. With `gathers`
// there are no windows, and taps may lie beyond what exists; without, the range has no gap.
template <std::size_t channels>
TapColumns makeTapColumns(const ResizeSpan& x, const TapRange& range, bool gathers, std::size_t taps,
                          std::size_t block, TapTables& tables);

} // namespace primitives

#endif
