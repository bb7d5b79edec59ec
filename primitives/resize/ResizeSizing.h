#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZESIZING_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZESIZING_H

// The sizes of plans and work buffers, computed wide.

#include <cstdint>

#include "primitives/resize/ResizeSpec.h"

namespace primitives {

// A size of this or more can't be reported.
constexpr std::int64_t kResizeSizeLimit = 0x7FFFFFFF;

// Rows and tables of a work buffer begin on multiples of this.
constexpr std::int64_t kResizeRowAlignment = 32;

constexpr std::int64_t roundUp(std::int64_t value, std::int64_t step) {
    return (value + step - 1) / step * step;
}

// The two tests on sizes that all functions with sizes begin with.
IppStatus checkResizeSizes(IppiSize srcSize, IppiSize dstSize);

// Entries per destination pixel in the super-sampling tables of an axis with these reduced extents.
constexpr std::int64_t superEntries(std::int64_t srcReduced, std::int64_t dstReduced) {
    const std::int64_t rest = srcReduced % dstReduced;
    return srcReduced / dstReduced + (rest == 0 ? 0 : rest == 1 ? 1 : 2);
}

// The work buffer of a run that makes a tile of `tile` pixels, both sides at least 1; kResizeSizeLimit or
// more when there is none. What a run keeps in its buffer has to fit this size for the tile at hand, wherever
// the buffer begins.
std::int64_t resizeBufferSize(const IppiResizeSpec& plan, IppiSize tile, std::int64_t channels);

} // namespace primitives

#endif
