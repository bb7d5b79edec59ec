#include "primitives/warp/WarpPlain.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "primitives/core/Math.h"

namespace primitives {
namespace {

// The neighbours of a position on one axis.
struct Neighbours {
    std::int32_t lower; // -1 to the axis' size; the other neighbour is the next
    float fraction;

    Neighbours(double position, std::int32_t size) {
        // Farther out both neighbours are outside, and alike. Not-a-number becomes -1.
        const double within = position > -1.0 ? std::min(position, static_cast<double>(size)) : -1.0;
        const double whole = ippFloor64f(within);
        lower = static_cast<std::int32_t>(whole);
        fraction = static_cast<float>(within - whole);
    }
};

bool isWithin(std::int64_t at, std::int32_t size) {
    return at >= 0 && at < size;
}

} // namespace

void plainWarpPixel(const WarpSource& source, int channels, double x, double y, const Ipp8u* outside,
                    Ipp8u* to) {
    const Neighbours column(x, source.width);
    const Neighbours row(y, source.height);
    const auto neighbour = [&](std::int32_t right, std::int32_t below) {
        const std::int64_t atX = std::int64_t{column.lower} + right;
        const std::int64_t atY = std::int64_t{row.lower} + below;
        if (outside && (!isWithin(atX, source.width) || !isWithin(atY, source.height))) {
            return outside;
        }
        return source.pixels + std::clamp<std::int64_t>(atY, 0, source.height - 1) * source.step +
               std::clamp<std::int64_t>(atX, 0, source.width - 1) * channels;
    };
    const Ipp8u* const p00 = neighbour(0, 0);
    const Ipp8u* const p10 = neighbour(1, 0);
    const Ipp8u* const p01 = neighbour(0, 1);
    const Ipp8u* const p11 = neighbour(1, 1);
    for (int i = 0; i < channels; ++i) {
        const float t = static_cast<float>(p00[i]) + static_cast<float>(p10[i] - p00[i]) * column.fraction;
        const float u =
            (static_cast<float>(p01[i]) - t) + static_cast<float>(p11[i] - p01[i]) * column.fraction;
        to[i] = static_cast<Ipp8u>(std::clamp(std::lrint(t + row.fraction * u), 0L, 255L));
    }
}

} // namespace primitives
