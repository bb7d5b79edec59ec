#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPRUN_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPRUN_H

// A warp of one tile, from checked arguments.

#include "primitives/warp/WarpKernels.h"
#include "primitives/warp/WarpSpec.h"

namespace primitives {

struct WarpTile {
    WarpSource source;
    int channels;
    Ipp8u* dst; // the tile's first pixel
    std::ptrdiff_t dstStep;
    IppiPoint offset; // of the tile in the record's destination, within it as is the whole tile
    IppiSize size;
    const IppiWarpSpec* record;

    Ipp8u* pixel(std::int32_t column, std::int32_t row) const {
        return dst + row * dstStep + std::ptrdiff_t{column} * channels;
    }
};

// What a variant does for a tile.
struct WarpFunctions {
    int blockRows;
    decltype(&WarpKernels<0>::sampleC1) sample;
    decltype(&WarpKernels<0>::prefetch) prefetch;
    decltype(&WarpKernels<0>::copy) copy;
};

// A border value as the bytes of a pixel.
struct WarpBorderPixel {
    explicit WarpBorderPixel(const IppiWarpSpec& record);
    Ipp8u bytes[kWarpMostChannels];
};

// `count` times the same pixel.
void repeatWarpPixel(const Ipp8u* pixel, int channels, std::ptrdiff_t count, Ipp8u* to);

// The tile of a record with positions between pixels.
void sampleWarpTile(const WarpTile& tile, const WarpFunctions& functions);

// The tile of a record with a shift by whole pixels.
void shiftWarpTile(const WarpTile& tile, const WarpFunctions& functions);

} // namespace primitives

#endif
