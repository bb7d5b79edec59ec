// A shift by whole pixels: the overlap is copied, and what lies around it follows the border.

#include <algorithm>

#include "primitives/warp/WarpRun.h"

namespace primitives {

void shiftWarpTile(const WarpTile& tile, const WarpFunctions& functions) {
    const WarpSource& source = tile.source;
    const WarpShift& shift = *tile.record->shiftRecord;
    const std::uint32_t kind = warpBorderKind(tile.record->borderType);
    const WarpBorderPixel border(*tile.record);
    const std::int64_t width = tile.size.width;
    const std::int64_t left = shift.x - tile.offset.x; // the source's first column, counted in the tile
    const std::int64_t begin = std::clamp<std::int64_t>(left, 0, width);
    const std::int64_t end = std::clamp<std::int64_t>(left + source.width, 0, width);
    for (std::int32_t row = 0; row < tile.size.height; ++row) {
        Ipp8u* const to = tile.pixel(0, row);
        const std::int64_t wanted = tile.offset.y + row - shift.y;
        const std::int64_t nearest = std::clamp<std::int64_t>(wanted, 0, source.height - 1);
        if (wanted != nearest && kind != ippBorderRepl) {
            if (kind == ippBorderConst) {
                repeatWarpPixel(border.bytes, tile.channels, width, to);
            }
            continue;
        }
        const Ipp8u* const from = source.pixels + nearest * source.step;
        if (begin < end) {
            functions.copy(from + (begin - left) * tile.channels, to + begin * tile.channels,
                           static_cast<std::size_t>((end - begin) * tile.channels));
        }
        if (kind == ippBorderRepl || kind == ippBorderConst) {
            const bool repeats = kind == ippBorderRepl;
            const Ipp8u* const last = from + std::ptrdiff_t{source.width - 1} * tile.channels;
            repeatWarpPixel(repeats ? from : border.bytes, tile.channels, begin, to);
            repeatWarpPixel(repeats ? last : border.bytes, tile.channels, width - end,
                            to + end * tile.channels);
        }
    }
}

} // namespace primitives
