#ifndef DORNIMAGE_PRIMITIVES_CORE_MATH_H
#define DORNIMAGE_PRIMITIVES_CORE_MATH_H

// Mathematical helpers with the same result on every level, for level sources too: none needs the C library,
// and none gains a fused operation from its level.

#include <stdint.h>

#include "primitives/core/Inline.h"

namespace primitives {

// The largest integer not above `x`, exact for every input: infinities, not-a-number and zeros with their
// sign pass.
DORN_INLINE double ippFloor64f(double x) {
    // From here on every number is an integer.
    constexpr double integers = 0x1p52;
    if (!(x > -integers && x < integers)) {
        return x;
    }
    const double truncated = static_cast<double>(static_cast<int64_t>(x));
    return __builtin_copysign(truncated > x ? truncated - 1.0 : truncated, x);
}

// The smallest integer not below `x`, likewise.
DORN_INLINE double ippCeil64f(double x) {
    return -ippFloor64f(-x);
}

// e to the x, within 0.51 units in the last place: infinity on overflow, zero on underflow, not-a-number
// passes.
//
// x = (64 n + k) ln 2 / 64 + r with |r| at most ln 2 / 128, so that e^x = 2^n * 2^(k/64) * e^r. The power of
// two from k comes from a table, e^r from its series up to r^4, which leaves out less than 2^-44; n goes into
// the exponent of the product. All in double precision, rounded to single at the end.
DORN_INLINE float ippExp32f(float x) {
    static constexpr double powers[64] = {
        0x1p+0,
        0x1.02c9a3e778061p+0,
        0x1.059b0d3158574p+0,
        0x1.0874518759bc8p+0,
        0x1.0b5586cf9890fp+0,
        0x1.0e3ec32d3d1a2p+0,
        0x1.11301d0125b51p+0,
        0x1.1429aaea92de0p+0,
        0x1.172b83c7d517bp+0,
        0x1.1a35beb6fcb75p+0,
        0x1.1d4873168b9aap+0,
        0x1.2063b88628cd6p+0,
        0x1.2387a6e756238p+0,
        0x1.26b4565e27cddp+0,
        0x1.29e9df51fdee1p+0,
        0x1.2d285a6e4030bp+0,
        0x1.306fe0a31b715p+0,
        0x1.33c08b26416ffp+0,
        0x1.371a7373aa9cbp+0,
        0x1.3a7db34e59ff7p+0,
        0x1.3dea64c123422p+0,
        0x1.4160a21f72e2ap+0,
        0x1.44e086061892dp+0,
        0x1.486a2b5c13cd0p+0,
        0x1.4bfdad5362a27p+0,
        0x1.4f9b2769d2ca7p+0,
        0x1.5342b569d4f82p+0,
        0x1.56f4736b527dap+0,
        0x1.5ab07dd485429p+0,
        0x1.5e76f15ad2148p+0,
        0x1.6247eb03a5585p+0,
        0x1.6623882552225p+0,
        0x1.6a09e667f3bcdp+0,
        0x1.6dfb23c651a2fp+0,
        0x1.71f75e8ec5f74p+0,
        0x1.75feb564267c9p+0,
        0x1.7a11473eb0187p+0,
        0x1.7e2f336cf4e62p+0,
        0x1.82589994cce13p+0,
        0x1.868d99b4492edp+0,
        0x1.8ace5422aa0dbp+0,
        0x1.8f1ae99157736p+0,
        0x1.93737b0cdc5e5p+0,
        0x1.97d829fde4e50p+0,
        0x1.9c49182a3f090p+0,
        0x1.a0c667b5de565p+0,
        0x1.a5503b23e255dp+0,
        0x1.a9e6b5579fdbfp+0,
        0x1.ae89f995ad3adp+0,
        0x1.b33a2b84f15fbp+0,
        0x1.b7f76f2fb5e47p+0,
        0x1.bcc1e904bc1d2p+0,
        0x1.c199bdd85529cp+0,
        0x1.c67f12e57d14bp+0,
        0x1.cb720dcef9069p+0,
        0x1.d072d4a07897cp+0,
        0x1.d5818dcfba487p+0,
        0x1.da9e603db3285p+0,
        0x1.dfc97337b9b5fp+0,
        0x1.e502ee78b3ff6p+0,
        0x1.ea4afa2a490dap+0,
        0x1.efa1bee615a27p+0,
        0x1.f50765b6e4540p+0,
        0x1.fa7c1819e90d8p+0,
    };
    constexpr double stepsPerUnit = 0x1.71547652b82fep+6; // 64 / ln 2
    constexpr double unitsPerStep = 0x1.62e42fefa39efp-7; // ln 2 / 64
    // Beyond these the result is surely infinite or zero, and n would leave the exponent's range.
    constexpr float highest = 89.0F;
    constexpr float lowest = -104.0F;
    if (!(x <= highest)) {
        return x + __builtin_inff(); // not-a-number stays what it is
    }
    if (x < lowest) {
        return 0.0F;
    }
    const double value = static_cast<double>(x);
    const int32_t step = static_cast<int32_t>(ippFloor64f(value * stepsPerUnit + 0.5));
    const double r = value - static_cast<double>(step) * unitsPerStep;
    const double series = 1.0 + r * (1.0 + r * (1.0 / 2 + r * (1.0 / 6 + r * (1.0 / 24))));
    const double fraction = powers[step & 63] * series;
    uint64_t bits;
    __builtin_memcpy(&bits, &fraction, sizeof bits);
    bits += static_cast<uint64_t>(static_cast<int64_t>(step >> 6)) << 52;
    double result;
    __builtin_memcpy(&result, &bits, sizeof result);
    return static_cast<float>(result);
}

// Sine and cosine of an angle in radians, as the C library has them. Not for level sources.
void ippSinCos64f(double angle, double* sine, double* cosine);

} // namespace primitives

#endif
