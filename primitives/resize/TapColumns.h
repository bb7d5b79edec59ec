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

// Arranges columns `first` to `first` + `count` - 1 of a tile, at most kTapSamples samples, for blocks of
// `block` samples. With `gathers` there are no windows, and taps may lie beyond what exists.
template <std::size_t channels>
TapColumns makeTapColumns(const ResizeSpan& x, std::int32_t first, std::int32_t count, bool gathers,
                          std::size_t taps, std::size_t block, TapTables& tables);

} // namespace primitives

#endif
