#ifndef DORNIMAGE_TESTS_PRIMITIVES_RESIZEREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_RESIZEREFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "primitives/primitives.h"

// What the resize methods give, pixel by pixel and slowly, for a method with `taps` taps on each side.
namespace resize_reference {

// One axis: where its destination positions lie in the source.
class Axis {
public:
    Axis(int srcSize, int dstSize)
        : src(srcSize), ratio_(static_cast<double>(srcSize / std::gcd(srcSize, dstSize)) /
                               static_cast<double>(dstSize / std::gcd(srcSize, dstSize))) {
        for (int d = 0; d < dstSize; ++d) {
            // Through memory, so that no compiler fuses the two steps.
            volatile double product = (d + 0.5) * ratio_;
            positions_.push_back(product - 0.5);
        }
    }

    double position(int d) const { return positions_[static_cast<std::size_t>(d)]; }
    int index(int d) const { return static_cast<int>(std::floor(position(d))); }
    double fraction(int d) const { return position(d) - index(d); }
    bool reachesBelow(int d, int taps) const { return position(d) < taps - 1; }
    bool reachesBeyond(int d, int taps) const { return position(d) >= src - taps; }
    // Where the source of a tile at destination position `d` begins.
    int origin(int d) const { return static_cast<int>(std::floor(d * ratio_)); }

    const int src;

private:
    double ratio_;
    std::vector<double> positions_;
};

// A source image and which pixels around it exist.
struct Source {
    const std::uint8_t* data; // pixel (0, 0)
    std::ptrdiff_t step;
    int width;
    int height;
    int channels;
    unsigned border;

    bool has(unsigned side) const { return (border & side) != 0; }
    static int limit(int at, int size, bool below, bool beyond) {
        return at < 0 && !below ? 0 : at >= size && !beyond ? size - 1 : at;
    }
    // A sample with its coordinates clamped to what exists.
    std::uint8_t at(int x, int y, int channel) const {
        const int column = limit(x, width, has(ippBorderInMemLeft), has(ippBorderInMemRight));
        const int row = limit(y, height, has(ippBorderInMemTop), has(ippBorderInMemBottom));
        return data[row * step + std::ptrdiff_t{column} * channels + channel];
    }
};

// Whether a destination pixel is one of the edge strips of its axis.
inline bool inStrip(const Axis& axis, int d, int taps, bool below, bool beyond) {
    return (!below && axis.reachesBelow(d, taps)) || (!beyond && axis.reachesBeyond(d, taps));
}

// Linear interpolation in single precision.
struct LinearFloat {
    static float toFloat(double fraction) { return static_cast<float>(fraction); }
    static std::uint8_t round(float value) {
        return static_cast<std::uint8_t>(std::clamp(std::nearbyint(value), 0.0F, 255.0F));
    }
    static float along(float a, float b, float t) {
        volatile float product = (b - a) * t;
        return product + a;
    }
    static std::uint8_t strip(int a, int b, double t) {
        return round(along(static_cast<float>(a), static_cast<float>(b), toFloat(t)));
    }
    static std::uint8_t inner(const int (&p)[2][2], double tx, double ty) {
        float rows[2];
        for (int i = 0; i < 2; ++i) {
            rows[i] = along(static_cast<float>(p[i][0]), static_cast<float>(p[i][1]), toFloat(tx));
        }
        return round(along(rows[0], rows[1], toFloat(ty)));
    }
};

// Linear interpolation with 14-bit weights.
struct LinearFixed {
    static std::int64_t weight(double fraction) {
        return static_cast<std::int64_t>(std::trunc(1e-7 + 16384.0 * fraction));
    }
    static std::uint8_t strip(int a, int b, double t) {
        const std::int64_t v = (16384 - weight(t)) * a + weight(t) * b;
        return static_cast<std::uint8_t>((v + ((v >> 14) & 1) + 8192) >> 14);
    }
    static std::uint8_t inner(const int (&p)[2][2], double tx, double ty) {
        const std::int64_t f = weight(tx);
        const std::int64_t g = weight(ty);
        std::int64_t rows[2];
        for (int i = 0; i < 2; ++i) {
            rows[i] = (p[i][0] * (16384 - f) + p[i][1] * f + 128) >> 8;
        }
        const std::int64_t pixel = (rows[0] * (16384 - g) + rows[1] * g + 524288) >> 20;
        return static_cast<std::uint8_t>(std::clamp<std::int64_t>(pixel, 0, 255));
    }
};

// One sample of a destination of the axes' size.
template <typename Arithmetic>
std::uint8_t linearSample(const Source& source, const Axis& axisX, const Axis& axisY, int x, int y,
                          int channel) {
    const int i = axisX.index(x);
    const int j = axisY.index(y);
    if (inStrip(axisY, y, 1, source.has(ippBorderInMemTop), source.has(ippBorderInMemBottom))) {
        const int row = std::clamp(j, 0, source.height - 1);
        return Arithmetic::strip(source.at(i, row, channel), source.at(i + 1, row, channel),
                                 axisX.fraction(x));
    }
    if (inStrip(axisX, x, 1, source.has(ippBorderInMemLeft), source.has(ippBorderInMemRight))) {
        const int column = std::clamp(i, 0, source.width - 1);
        return Arithmetic::strip(source.at(column, j, channel), source.at(column, j + 1, channel),
                                 axisY.fraction(y));
    }
    const int p[2][2] = {{source.at(i, j, channel), source.at(i + 1, j, channel)},
                         {source.at(i, j + 1, channel), source.at(i + 1, j + 1, channel)}};
    return Arithmetic::inner(p, axisX.fraction(x), axisY.fraction(y));
}

} // namespace resize_reference

#endif
