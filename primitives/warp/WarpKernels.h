#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPKERNELS_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPKERNELS_H

// The vector work of the affine warp, in blocks of a few destination rows. The rows lie in the lanes of a
// vector and columns are taken one after the other. So each row's position advances by the same additions as
// in a plain loop, and pixels don't depend on the variant; and the pixels of a block come from a small patch
// of the source, whatever the angle.

#include <stddef.h>
#include <stdint.h>

#include "primitives/core/Types.h"

namespace primitives {

// Rows of a block: as many as a variant's registers have lanes of 32 bits.
constexpr int warpBlockRows(int variant) {
    return variant >= 6 ? 16 : variant == 5 ? 8 : 4;
}
constexpr int kWarpMostRows = 16;

// Columns of a block at most, a multiple of kWarpGroup.
constexpr int kWarpBlockColumns = 64;
// Columns that are made at once: a block is made in whole groups.
constexpr int kWarpGroup = 16;

constexpr int kWarpMostChannels = 3;

struct WarpSource {
    const Ipp8u* pixels;
    ptrdiff_t step;
    int32_t width; // at least 2, as the height
    int32_t height;
};

// Source positions of one destination column in every row of a block, and what the next column adds.
struct WarpPositions {
    double x[kWarpMostRows];
    double y[kWarpMostRows];
    double stepX;
    double stepY;
};

// Positions in a line.
struct WarpLine {
    double x;
    double y;
    double stepX;
    double stepY;
};

// The pixels of a block, rows of kWarpBlockColumns one behind the other.
struct WarpPixels {
    alignas(64) Ipp8u bytes[kWarpMostRows * kWarpBlockColumns * kWarpMostChannels];
};

// How a block is made from a source.
enum WarpForm {
    kWarpInside, // every position lies at least 1/32 of a pixel within the edge pixels' centres
    kWarpClamped // positions may be anything
};

template <int variant>
struct WarpKernels {
    // Makes `columns` pixels of every row, up to the next whole group, and advances the positions past them.
    // The source's rows don't overlap and rise in memory, and all of it lies within INT32_MAX bytes.
    static void sampleC1(const WarpSource& source, WarpForm form, WarpPositions& at, int columns,
                         WarpPixels& pixels);
    static void sampleC3(const WarpSource& source, WarpForm form, WarpPositions& at, int columns,
                         WarpPixels& pixels);
    // Asks for the memory around `count` positions ahead of its use.
    static void prefetch(const WarpSource& source, int channels, WarpLine line, int count);
    // Rows of a shift by whole pixels.
    static void copy(const Ipp8u* from, Ipp8u* to, size_t bytes);
};

} // namespace primitives

#endif
