#ifndef DORNIMAGE_TESTS_PRIMITIVES_WARPREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_WARPREFERENCE_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>

// The affine warp as its definition says it, one pixel at a time.
namespace warp_reference {

using Coeffs = std::array<double, 6>;

inline Coeffs inverse(const Coeffs& m) {
    const double d = m[0] * m[4] - m[1] * m[3];
    return {m[4] / d,  -m[1] / d, (m[1] * m[5] - m[4] * m[2]) / d,
            -m[3] / d, m[0] / d,  (m[3] * m[2] - m[0] * m[5]) / d};
}

// Positions of the pixels of a tile, in the order of its rows: `visit(column, row, x, y)`, counted in the
// tile. Every sum is rounded as it comes.
inline void forPositions(const Coeffs& backward, int left, int top, int width, int height,
                         const std::function<void(int, int, double, double)>& visit) {
    double rowX = backward[1] * top + backward[2];
    double rowY = backward[4] * top + backward[5];
    for (int row = 0; row < height; ++row) {
        double x = backward[0] * left + rowX;
        double y = backward[3] * left + rowY;
        for (int column = 0; column < width; ++column) {
            visit(column, row, x, y);
            x += backward[0];
            y += backward[3];
        }
        rowX += backward[1];
        rowY += backward[4];
    }
}

struct Picture {
    int width;
    int height;
    int channels;
    std::function<int(int, int, int)> at; // column, row, channel
};

inline double floorOf(double value) {
    const double nearest = std::rint(value);
    return value - nearest == 0.0 ? nearest : std::rint(value - 0.5);
}

// A pixel's channel at a position. `outside` is the value of neighbours outside the picture, negative for
// that of the nearest edge pixel.
inline int sample(const Picture& picture, double x, double y, int channel, int outside = -1) {
    const double wholeX = floorOf(x);
    const double wholeY = floorOf(y);
    // The fractions of positions that no double tells from infinity.
    const auto fx = std::isfinite(x) ? static_cast<float>(x - wholeX) : 0.0F;
    const auto fy = std::isfinite(y) ? static_cast<float>(y - wholeY) : 0.0F;
    const auto pixel = [&](double column, double row) {
        const bool isInside = column >= 0 && column < picture.width && row >= 0 && row < picture.height;
        if (outside >= 0 && !isInside) {
            return outside;
        }
        return picture.at(static_cast<int>(std::min(std::max(column, 0.0), picture.width - 1.0)),
                          static_cast<int>(std::min(std::max(row, 0.0), picture.height - 1.0)), channel);
    };
    const int p00 = pixel(wholeX, wholeY);
    const int p10 = pixel(wholeX + 1, wholeY);
    const int p01 = pixel(wholeX, wholeY + 1);
    const int p11 = pixel(wholeX + 1, wholeY + 1);
    const float t = static_cast<float>(p00) + static_cast<float>(p10 - p00) * fx;
    const float u = (static_cast<float>(p01) - t) + static_cast<float>(p11 - p01) * fx;
    return static_cast<int>(std::min(std::max(std::rint(t + fy * u), 0.0F), 255.0F));
}

} // namespace warp_reference

#endif
