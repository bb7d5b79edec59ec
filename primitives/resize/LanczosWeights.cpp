#include "primitives/resize/LanczosWeights.h"

#include <array>
#include <cmath>
#include <cstddef>

#if !defined(DORN_PORTABLE_PRIMITIVES)
#include <xmmintrin.h>
#endif

namespace primitives {

namespace {

constexpr double kPi = 3.14159265358979323846;

// The sine of pi * numerator / denominator, for numerators of at least 0, exactly 0 at multiples of pi.
constexpr double sineOfPi(int numerator, int denominator) {
    const int turn = numerator % (2 * denominator);
    const int half = turn % denominator;
    const int quarter = half < denominator - half ? half : denominator - half;
    const double x = kPi * quarter / denominator;
    double term = turn < denominator ? x : -x;
    double sum = 0.0;
    for (int n = 2; n < 24; n += 2) {
        sum += term;
        term *= -x * x / (n * (n + 1));
    }
    return sum;
}

constexpr double sinc(int numerator, int denominator) {
    return numerator == 0 ? 1.0 : sineOfPi(numerator, denominator) / (kPi * numerator / denominator);
}

// The kernel at multiples of 1 / steps, up to `lobes` and one more, which is 0.
template <int lobes, int steps>
constexpr auto makeLanczosTable() {
    std::array<float, lobes * steps + 2> table{};
    for (int j = 0; j < lobes * steps; ++j) {
        table[static_cast<std::size_t>(j)] = static_cast<float>(sinc(j, steps) * sinc(j, steps * lobes));
    }
    return table;
}

constexpr auto ippLanczos2Table = makeLanczosTable<2, 200>();
constexpr auto ippLanczos3Table = makeLanczosTable<3, 100>();

template <int lobes>
float kernelAt(float distance) {
    constexpr const auto& table = []() -> const auto& {
        if constexpr (lobes == 2) {
            return ippLanczos2Table;
        } else {
            return ippLanczos3Table;
        }
    }
    ();
    constexpr float range = lobes;
    if (!(distance > -range && distance < range)) {
        return 0.0F;
    }
    const float scaled = std::fabs(distance) * (lobes == 2 ? 200.0F : 100.0F);
    const auto at = static_cast<std::size_t>(scaled);
    return table[at] + (table[at + 1] - table[at]) * (scaled - static_cast<float>(at));
}

// The processor's own estimate, with 12 bits at least: the method starts from it.
float approximateReciprocal(float value) {
#if defined(DORN_PORTABLE_PRIMITIVES)
    return 1.0F / value;
#else
    return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(value)));
#endif
}

} // namespace

template <int lobes>
void lanczosWeights(float fraction, float* weights) {
    constexpr int taps = 2 * lobes;
    const float first = -static_cast<float>(lobes - 1) - fraction;
    float sum = 0.0F;
    for (int tap = 0; tap < taps; ++tap) {
        weights[tap] = kernelAt<lobes>(first + static_cast<float>(tap));
        sum += weights[tap];
    }
    // One step of Newton's method.
    const float start = approximateReciprocal(sum);
    const float reciprocal = start + start - sum * start * start;
    // The first four weights are multiplied, the others divided.
    constexpr int multiplied = 4;
    for (int tap = 0; tap < multiplied; ++tap) {
        weights[tap] *= reciprocal;
    }
    for (int tap = multiplied; tap < taps; ++tap) {
        weights[tap] /= sum;
    }
}

template void lanczosWeights<2>(float, float*);
template void lanczosWeights<3>(float, float*);

} // namespace primitives
