#ifndef DORNIMAGE_TESTS_PRIMITIVES_WARPREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_WARPREFERENCE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <vector>

#include "primitives/primitives.h"

// The affine warp as its definition says it, one pixel at a time.
namespace warp_reference {

using Coeffs = std::array<double, 6>;

inline Coeffs inverse(const Coeffs& m) {
    const double d = m[0] * m[4] - m[1] * m[3];
    return {m[4] / d,  -m[1] / d, (m[1] * m[5] - m[4] * m[2]) / d,
            -m[3] / d, m[0] / d,  (m[3] * m[2] - m[0] * m[5]) / d};
}

// The positions of a tile's pixels, row by row: `visit(column, row, x, y)`, counted in the tile. Every sum is
// rounded as it comes.
template <typename Visit>
void forPositions(const Coeffs& backward, int left, int top, int width, int height, Visit visit) {
    double rowX = backward[1] * top + backward[2];
    double rowY = backward[4] * top + backward[5];
    for (int row = 0; row < height; ++row, rowX += backward[1], rowY += backward[4]) {
        double x = backward[0] * left + rowX;
        double y = backward[3] * left + rowY;
        for (int column = 0; column < width; ++column, x += backward[0], y += backward[3]) {
            visit(column, row, x, y);
        }
    }
}

struct Picture {
    int width;
    int height;
    std::function<int(int, int, int)> at; // column, row, channel
};

inline double floorOf(double value) {
    const double nearest = std::rint(value);
    return value - nearest == 0.0 ? nearest : std::rint(value - 0.5);
}

// One channel at a position. `outside` is the value of neighbours outside the picture, negative for that of
// the nearest edge pixel.
inline int sample(const Picture& picture, double x, double y, int channel, int outside = -1) {
    const double left = floorOf(x);
    const double top = floorOf(y);
    const auto fx = static_cast<float>(x - left);
    const auto fy = static_cast<float>(y - top);
    const auto pixel = [&](double column, double row) {
        const double inColumn = std::min(std::max(column, 0.0), picture.width - 1.0);
        const double inRow = std::min(std::max(row, 0.0), picture.height - 1.0);
        const bool isOutside = column != inColumn || row != inRow;
        return isOutside && outside >= 0
                   ? outside
                   : picture.at(static_cast<int>(inColumn), static_cast<int>(inRow), channel);
    };
    const int p00 = pixel(left, top);
    const int p01 = pixel(left, top + 1);
    const float t = static_cast<float>(p00) + static_cast<float>(pixel(left + 1, top) - p00) * fx;
    const float u = (static_cast<float>(p01) - t) + static_cast<float>(pixel(left + 1, top + 1) - p01) * fx;
    return static_cast<int>(std::min(std::max(std::rint(t + fy * u), 0.0F), 255.0F));
}

// What is to become of pixels outside the picture.
struct Outside {
    std::uint32_t border;
    std::array<int, 3> value; // of a constant border
    int kept;                 // what the destination held before
};

// What a channel of the pixel at a position may be.
inline std::vector<int> allowed(const Picture& picture, const Outside& outside, double x, double y,
                                int channel) {
    const int replicated = sample(picture, x, y, channel);
    if (outside.border == ippBorderRepl) {
        return {replicated};
    }
    // Pixels from the source; negative inside. The side that edges fall on is up to the rounding of the
    // tables.
    constexpr double slack = 1e-6;
    const double distance =
        std::max(std::max(-x, x - (picture.width - 1)), std::max(-y, y - (picture.height - 1)));
    if (outside.border == ippBorderConst) {
        const int border = outside.value[static_cast<std::size_t>(channel)];
        const int mixed = sample(picture, x, y, channel, border);
        return distance > 1 + slack          ? std::vector{border}
               : distance > 1 - slack        ? std::vector{border, mixed}
               : std::fabs(distance) < slack ? std::vector{border, mixed, replicated}
                                             : std::vector{mixed};
    }
    return distance > slack    ? std::vector{outside.kept}
           : distance < -slack ? std::vector{replicated}
                               : std::vector{outside.kept, replicated};
}

} // namespace warp_reference

#endif
