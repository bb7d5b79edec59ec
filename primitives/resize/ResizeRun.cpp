#include "primitives/resize/ResizeRun.h"

#include <limits>

namespace primitives {

namespace {

ResizeSpan makeSpan(const IppiResizeAxis& axis, std::int32_t offset, std::int32_t size, bool isLowInMemory,
                    bool isHighInMemory) {
    using Limits = std::numeric_limits<std::int32_t>;
    const std::int64_t behind = std::int64_t{axis.dstSize} - size - offset;
    const auto reaching = [size](std::int64_t count, std::int64_t outside) {
        return static_cast<std::int32_t>(std::clamp(count - outside, std::int64_t{0}, std::int64_t{size}));
    };
    ResizeSpan span{};
    span.axis = &axis;
    span.offset = offset;
    span.size = size;
    span.lead = isLowInMemory ? 0 : reaching(axis.leadCount, offset);
    span.trail = isHighInMemory ? 0 : reaching(axis.trailCount, behind);
    span.sourceLow = isLowInMemory ? Limits::min() : 0;
    span.sourceHigh = isHighInMemory ? Limits::max() : static_cast<std::int32_t>(axis.srcSize - 1);
    return span;
}

// The source position where callers let the source of a tile at `offset` begin.
std::int32_t sourceOrigin(const IppiResizeAxis& axis, std::int32_t offset) {
    return static_cast<std::int32_t>(offset * resizeRatio(axis));
}

} // namespace

IppStatus checkResizeBorder(std::uint32_t border) {
    const bool isAccepted = border == ippBorderInMem || (border <= 255 && (border & 15) == ippBorderRepl);
    return isAccepted ? ippStsNoErr : ippStsBorderErr;
}

IppStatus checkResizeCall(const ResizeCall& call, std::uint32_t interpolation) {
    if (!call.src || !call.dst || !call.plan || !call.buffer) {
        return ippStsNullPtrErr;
    }
    if (call.dstSize.width == 0 || call.dstSize.height == 0) {
        return ippStsNoOperation;
    }
    const IppiResizeSpec& plan = *call.plan;
    if (plan.magic != IPP_RESIZE_MAGIC) {
        return ippStsContextMatchErr;
    }
    if (call.dstSize.width < 1 || call.dstSize.height < 1) {
        return ippStsSizeErr;
    }
    if (call.dstOffset.x < 0 || call.dstOffset.y < 0 ||
        static_cast<std::uint32_t>(call.dstOffset.x) >= plan.axisX.dstSize ||
        static_cast<std::uint32_t>(call.dstOffset.y) >= plan.axisY.dstSize) {
        return ippStsOutOfRangeErr;
    }
    if (plan.antialiasing != 0) {
        return ippStsNotSupportedModeErr;
    }
    return plan.interpolation == interpolation ? ippStsNoErr : ippStsContextMatchErr;
}

ResizeTile makeResizeTile(const ResizeCall& call, std::uint32_t border, std::int32_t channels) {
    const IppiResizeSpec& plan = *call.plan;
    const IppiSize size = clippedTileSize(call);
    const auto isInMemory = [border](std::uint32_t flag) { return (border & flag) != 0; };
    ResizeTile tile{};
    tile.srcStep = call.srcStep;
    tile.dst = call.dst;
    tile.dstStep = call.dstStep;
    tile.image = call.src - sourceOrigin(plan.axisY, call.dstOffset.y) * tile.srcStep -
                 std::ptrdiff_t{sourceOrigin(plan.axisX, call.dstOffset.x)} * channels;
    tile.x = makeSpan(plan.axisX, call.dstOffset.x, size.width, isInMemory(ippBorderInMemLeft),
                      isInMemory(ippBorderInMemRight));
    tile.y = makeSpan(plan.axisY, call.dstOffset.y, size.height, isInMemory(ippBorderInMemTop),
                      isInMemory(ippBorderInMemBottom));
    return tile;
}

} // namespace primitives
