#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZEWINDOWS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZEWINDOWS_H

// Where neighbouring samples of a destination row find their source bytes: if these lie close together, all
// of them are in one window of the source row, and a byte shuffle deals them out.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "primitives/resize/ResizeRun.h"

namespace primitives {

// Bytes that a window holds.
constexpr std::size_t kResizeWindow = 16;

// The bytes of a source row that may be read. They end with the image, but on a side that exists in memory
// with what the taps of the tile reach: callers need not hold more there.
struct RowBytes {
    std::int64_t low;
    std::int64_t high; // the last one
};

// For taps from `before` pixels left of a position's index to `behind` pixels right of it.
inline RowBytes readableBytes(const ResizeSpan& x, std::int64_t before, std::int64_t behind,
                              std::int64_t channels) {
    const bool isLowInMemory = x.sourceLow < 0;
    const bool isHighInMemory = x.sourceHigh == std::numeric_limits<std::int32_t>::max();
    const std::int64_t first = isLowInMemory ? x.index(0) - before : 0;
    const std::int64_t last = isHighInMemory ? x.index(x.size - 1) + behind : x.sourceHigh;
    return {first * channels, (last + 1) * channels - 1};
}

// What a window serves, in bytes.
struct WindowReach {
    std::int64_t first;  // from the sample of the pixel that the index names to the one that is looked up
    std::int64_t inside; // from there to the last byte that is looked up in the same window
    std::int64_t behind; // to the last place where the window is read again
};

// Describes the window for `group` samples from `sample` on, where pixel i is at index[i]: its first byte,
// and for each sample the number of its byte in the window. False when there is none.
template <std::int64_t channels, std::size_t group>
bool findWindow(const std::int32_t* index, std::size_t sample, WindowReach reach, RowBytes readable,
                std::int32_t& start, std::uint8_t (&numbers)[group]) {
    constexpr auto window = static_cast<std::int64_t>(kResizeWindow);
    index += sample / channels;
    auto channel = static_cast<std::int64_t>(sample % channels);
    std::int64_t bytes[group];
    std::int64_t lowest = INT64_MAX;
    std::int64_t highest = INT64_MIN;
    for (std::int64_t& byte : bytes) {
        byte = *index * channels + channel + reach.first;
        lowest = std::min(lowest, byte);
        highest = std::max(highest, byte);
        if (++channel == channels) {
            channel = 0;
            ++index;
        }
    }
    const std::int64_t at = std::min(lowest, readable.high + 1 - window - reach.behind);
    if (at < readable.low || highest + reach.inside - at >= window || at > INT32_MAX - window ||
        at < INT32_MIN) {
        return false;
    }
    start = static_cast<std::int32_t>(at);
    for (std::size_t i = 0; i < group; ++i) {
        numbers[i] = static_cast<std::uint8_t>(bytes[i] - at);
    }
    return true;
}

} // namespace primitives

#endif
