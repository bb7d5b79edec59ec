#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPSPEC_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPSPEC_H

// What the record of the affine warp holds.

#include <cstddef>
#include <cstdint>

#include "primitives/warp/WarpAffine.h"

namespace primitives {

// First and last destination column of a row; none when the first is greater.
struct WarpColumns {
    std::int32_t first;
    std::int32_t last;
};

// Whole pixels that the destination lies to the right of and below the source.
struct WarpShift {
    std::int64_t x;
    std::int64_t y;
};

// The source's corners in the destination, in their order around it, and whether that order is clockwise as
// seen with y pointing down.
struct WarpEdgeQuad {
    double corners[8];
    std::int32_t isClockwise;
};

constexpr std::int32_t kWarpAffineMode = 0;
constexpr std::int32_t kWarpOtherMode = 1; // for which there is a buffer size and nothing else

constexpr std::int32_t kWarpForward = 0; // directions
constexpr std::int32_t kWarpBackward = 1;

} // namespace primitives

struct IppiWarpSpec {
    std::int32_t srcWidth;
    std::int32_t srcHeight;
    std::int32_t srcX;
    std::int32_t srcY;
    std::int32_t srcWidth2;
    std::int32_t srcHeight2;
    std::int32_t dstWidth;
    std::int32_t dstHeight;
    std::int32_t direction;
    std::int32_t mode;
    std::int32_t dataType;
    std::int32_t interpolation;
    double backward[6]; // destination to source
    // Rows of the tables, -1 and -2 when there are none. The first table holds the pixels whose position lies
    // within the source, the second, for constant borders, those less than a pixel outside too.
    std::int32_t firstSpanRow2;
    std::int32_t lastSpanRow2;
    std::int32_t firstSpanRow;
    std::int32_t lastSpanRow;
    std::int32_t smoothEdge;
    std::uint32_t borderType;
    double borderValue[4];
    std::uint32_t numChannels;
    primitives::WarpColumns* spanTable2;
    primitives::WarpColumns* spanTable;
    IppStatus noPixelsStatus;
    void* fastPlan;
    primitives::WarpShift* shiftRecord; // set for a shift by whole pixels, which needs no tables
    primitives::WarpEdgeQuad edgeQuad;  // for smooth edges only
};

namespace primitives {

constexpr std::size_t kWarpAlignment = 8;
// Bytes of a record without tables, whatever address its block begins at.
constexpr std::size_t kWarpHeadBytes = 392;
// Where the shift record and the tables lie.
constexpr std::size_t kWarpShiftOffset = sizeof(IppiWarpSpec);
constexpr std::size_t kWarpTablesOffset = kWarpHeadBytes - kWarpAlignment;
static_assert(kWarpShiftOffset + sizeof(WarpShift) <= kWarpTablesOffset);
static_assert(offsetof(IppiWarpSpec, backward) == 48 && offsetof(IppiWarpSpec, firstSpanRow2) == 96);

// The record inside a block.
inline IppiWarpSpec* warpRecord(IppiWarpSpec* block) {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    return reinterpret_cast<IppiWarpSpec*>((address + kWarpAlignment - 1) / kWarpAlignment * kWarpAlignment);
}
inline const IppiWarpSpec* warpRecord(const IppiWarpSpec* block) {
    return warpRecord(const_cast<IppiWarpSpec*>(block));
}

// The kind of a border without flags, 0 with any flag: then only what the source covers is written.
inline std::uint32_t warpBorderKind(std::uint32_t border) {
    return border > 15 ? 0 : border;
}

inline bool isWarpBorder(std::uint32_t border) {
    const std::uint32_t kind = border & 15U;
    return border == ippBorderInMem ||
           (border <= 255 && (kind == ippBorderRepl || kind == ippBorderConst || kind == ippBorderTransp));
}

} // namespace primitives

#endif
