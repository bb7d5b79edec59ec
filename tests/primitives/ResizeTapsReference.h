#ifndef DORNIMAGE_TESTS_PRIMITIVES_RESIZETAPSREFERENCE_H
#define DORNIMAGE_TESTS_PRIMITIVES_RESIZETAPSREFERENCE_H

#include <cmath>
#include <vector>

#include "ResizeReference.h"

// What the cubic and Lanczos methods give, pixel by pixel and slowly.
namespace resize_reference {

// The weights of the taps at a position `fraction` behind a source pixel.
using Weights = std::vector<float>;

inline double cubicKernel(float distance, double b, double c) {
    const double t = distance;
    if (t >= 2) {
        return 0;
    }
    if (b == 0 && c == 0.5) {
        return t < 1 ? (1.5 * t - 2.5) * (t * t) + 1 : ((-0.5 * t + 2.5) * t - 4) * t + 2;
    }
    if (b == 1 && c == 0) {
        return t < 1 ? (0.5 * t * t - t) * t + 2.0 / 3 : (-1.0 / 6 * t * t + t) * t + (4.0 / 3 - t - t);
    }
    if (b == 0.5 && c == static_cast<double>(0.3F)) {
        return t < 1 ? (0.95 * t - 1.7) * (t * t) + 5.0 / 6
                     : ((-0.38333333333333336 * t + 2) * t - 3.4) * t + 1.8666666666666667;
    }
    return t < 1 ? ((2 - 1.5 * b - c) * t + (-3 + 2 * b + c)) * (t * t) + (1 - b / 3)
                 : (((-b / 6 - c) * t + (b + 5 * c)) * t - (2 * b + 8 * c)) * t + (4.0 / 3 * b + 4 * c);
}

inline Weights cubicWeights(float fraction, float b, float c) {
    const float x = -1.0F - fraction;
    Weights weights;
    for (const float distance : {x, 1.0F + x, 2.0F + x, x + 3.0F}) {
        weights.push_back(static_cast<float>(cubicKernel(std::fabs(distance), double{b}, double{c})));
    }
    return weights;
}

// The entry of the kernel's table for x = j / steps.
inline float lanczosEntry(int j, int steps, int lobes) {
    if (j == 0 || j % steps == 0) {
        return j == 0 ? 1.0F : 0.0F;
    }
    const double x = std::acos(-1.0) * j / steps;
    return static_cast<float>(std::sin(x) / x * std::sin(x / lobes) / (x / lobes));
}

// Not normalised.
inline Weights rawLanczosWeights(float fraction, int lobes) {
    const int steps = lobes == 2 ? 200 : 100;
    Weights weights;
    for (int tap = 0; tap < 2 * lobes; ++tap) {
        const float distance = -static_cast<float>(lobes - 1) - fraction + static_cast<float>(tap);
        const float s = std::fabs(distance) * static_cast<float>(steps);
        const int t = static_cast<int>(s);
        const float low = lanczosEntry(t, steps, lobes);
        const float slope = lanczosEntry(t + 1, steps, lobes) - low;
        weights.push_back(std::fabs(distance) < static_cast<float>(lobes)
                              ? low + slope * (s - static_cast<float>(t))
                              : 0.0F);
    }
    return weights;
}

inline Weights lanczosWeights(float fraction, int lobes) {
    Weights weights = rawLanczosWeights(fraction, lobes);
    float sum = 0;
    for (const float weight : weights) {
        sum += weight;
    }
    for (float& weight : weights) {
        weight /= sum;
    }
    return weights;
}

// How far a weight of a plan may be from its reference: the last two of six Lanczos weights are divided by
// the sum, too, the others multiplied by its reciprocal.
inline float lanczosSlack(float expected, int tap) {
    return tap < 4 ? 3e-7F * std::fabs(expected) : 0.0F;
}

// The order in which products are added.
enum class Order { leftToRight, endsFirst, fused, fusedPairs };

inline float tapSum(const float* values, const float* weights, int taps, Order order) {
    const auto product = [&](int tap) { return values[tap] * weights[tap]; };
    if (order == Order::fusedPairs) {
        return std::fma(values[0], weights[0], product(1)) + std::fma(values[2], weights[2], product(3));
    }
    if (order == Order::endsFirst) {
        return ((product(0) + product(3)) + product(1)) + product(2);
    }
    float sum = product(0);
    for (int tap = 1; tap < taps; ++tap) {
        sum = order == Order::fused ? std::fma(values[tap], weights[tap], sum) : sum + product(tap);
    }
    return sum;
}

// One sample of a destination, with the weights of its column and row. Pixels of the strips have an order of
// their own.
inline std::uint8_t tapSample(const Source& source, const Axis& axisX, const Axis& axisY,
                              const float* weightsX, const float* weightsY, int lobes, Order inner, int x,
                              int y, int channel) {
    const bool isStrip =
        inStrip(axisY, y, lobes, source.has(ippBorderInMemTop), source.has(ippBorderInMemBottom)) ||
        inStrip(axisX, x, lobes, source.has(ippBorderInMemLeft), source.has(ippBorderInMemRight));
    const Order along = !isStrip ? inner : lobes == 2 ? Order::endsFirst : Order::leftToRight;
    const int taps = 2 * lobes;
    float sums[6];
    for (int row = 0; row < taps; ++row) {
        float values[6];
        for (int column = 0; column < taps; ++column) {
            values[column] =
                source.at(axisX.index(x) + column + 1 - lobes, axisY.index(y) + row + 1 - lobes, channel);
        }
        sums[row] = tapSum(values, weightsX, taps, along);
    }
    const float value = tapSum(sums, weightsY, taps, isStrip ? Order::leftToRight : inner);
    return static_cast<std::uint8_t>(std::clamp(std::nearbyint(value), 0.0F, 255.0F));
}

} // namespace resize_reference

#endif
