#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZERUN_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZERUN_H

// What the run functions have in common: their checks, where a tile lies, which of its pixels need the
// border, and the layout of the work buffer.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "primitives/resize/ResizePlan.h"

namespace primitives {

// The arguments of a run function. `plan` is where `spec` leads to, and null when that is null.
struct ResizeCall {
    const Ipp8u* src;
    std::int32_t srcStep;
    Ipp8u* dst;
    std::int32_t dstStep;
    IppiPoint dstOffset;
    IppiSize dstSize;
    const IppiResizeSpec* plan;
    Ipp8u* buffer;
};

// The test that comes first in methods with a border.
IppStatus checkResizeBorder(std::uint32_t border);

// The tests of all methods up to the plan's method.
IppStatus checkResizeCall(const ResizeCall& call, std::uint32_t interpolation);

// The status of a call that was carried out.
inline IppStatus resizeDoneStatus(const ResizeCall& call) {
    return exceedsDestination(*call.plan, call.dstSize) ? ippStsSizeWrn : ippStsNoErr;
}

// The tile's size without what reaches past the destination.
inline IppiSize clippedTileSize(const ResizeCall& call) {
    const std::int64_t right = std::int64_t{call.plan->axisX.dstSize} - call.dstOffset.x;
    const std::int64_t below = std::int64_t{call.plan->axisY.dstSize} - call.dstOffset.y;
    return {static_cast<std::int32_t>(std::min(std::int64_t{call.dstSize.width}, right)),
            static_cast<std::int32_t>(std::min(std::int64_t{call.dstSize.height}, below))};
}

// The positions of one axis that a tile covers. Source positions count from the edge of the whole image, so a
// pixel comes out the same whatever tile it is in.
struct ResizeSpan {
    const IppiResizeAxis* axis;
    std::int32_t offset;    // the tile's first destination position
    std::int32_t size;      // of the tile
    std::int32_t lead;      // positions at the start that need the border, 0 on a side that exists in memory
    std::int32_t trail;     // at the end
    std::int32_t sourceLow; // the source positions that may be read; without limit on a side in memory
    std::int32_t sourceHigh;

    std::int32_t inner() const { return size - lead - trail; }
    // The source index of the tile's position `at`.
    std::int32_t index(std::int32_t at) const { return axis->index[offset + at]; }
    std::int32_t clampSource(std::int64_t at) const {
        return static_cast<std::int32_t>(std::clamp(at, std::int64_t{sourceLow}, std::int64_t{sourceHigh}));
    }
};

// A tile of the linear, cubic and Lanczos methods. Strips of `y.lead` rows at the top and `y.trail` rows at
// the bottom, over all columns, and of `x.lead` and `x.trail` columns between them need the border; the rest,
// `x.inner()` by `y.inner()` pixels if both are positive, doesn't.
struct ResizeTile {
    const Ipp8u* image; // the first pixel of the whole source image
    std::ptrdiff_t srcStep;
    Ipp8u* dst; // the first pixel of the tile
    std::ptrdiff_t dstStep;
    ResizeSpan x;
    ResizeSpan y;

    const Ipp8u* sourceRow(std::int32_t row) const { return image + row * srcStep; }
    Ipp8u* dstRow(std::int32_t row) const { return dst + row * dstStep; }
};

// Wants a call that the checks accept.
ResizeTile makeResizeTile(const ResizeCall& call, std::uint32_t border, std::int32_t channels);

// Hands out parts of a work buffer from its start on.
class ResizeBuffer {
public:
    explicit ResizeBuffer(Ipp8u* buffer) : next_(buffer) {}

    // `count` elements on a boundary of `alignment` bytes, kResizeRowAlignment unless told otherwise.
    template <typename T>
    T* take(std::size_t count, std::size_t alignment = 32) {
        next_ += (alignment - reinterpret_cast<std::uintptr_t>(next_) % alignment) % alignment;
        T* part = reinterpret_cast<T*>(next_);
        next_ += count * sizeof(T);
        return part;
    }

    // The first byte that isn't handed out.
    const Ipp8u* end() const { return next_; }

private:
    Ipp8u* next_;
};

} // namespace primitives

#endif
