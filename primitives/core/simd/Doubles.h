#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_DOUBLES_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_DOUBLES_H

// Positions in double precision, in vectors that go in pairs beside one of 32-bit lanes, and what is read at
// positions.

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

using HalfF64 = Vec<double, VecF32::lanes / 2>;

// The whole part of numbers from 0 to INT32_MAX.
template <int n>
DORN_INLINE Vec<double, n> truncate(Vec<double, n> v) {
    Vec<double, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<double>(static_cast<int32_t>(v.raw[i]));
    }
    return result;
}

// The numbers of two vectors, each rounded to single precision.
template <int n>
DORN_INLINE Vec<float, 2 * n> demoteFloats(Vec<double, n> lower, Vec<double, n> upper) {
    Vec<float, 2 * n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<float>(lower.raw[i]);
        result.raw[n + i] = static_cast<float>(upper.raw[i]);
    }
    return result;
}

// a * b + c for whole numbers, where rounding once or twice makes no difference.
template <int n>
DORN_INLINE Vec<double, n> wholeMulAdd(Vec<double, n> a, Vec<double, n> b, Vec<double, n> c) {
    return a * b + c;
}

// Added to a whole number below 2^31 this leaves it in the low word.
constexpr double kLowWord = 0x1p52;

// The low words of two vectors.
template <int n>
DORN_INLINE Vec<int32_t, 2 * n> lowWords(Vec<double, n> lower, Vec<double, n> upper) {
    Vec<int32_t, 2 * n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<int32_t>(lower.raw[i] - kLowWord);
        result.raw[n + i] = static_cast<int32_t>(upper.raw[i] - kLowWord);
    }
    return result;
}

// Four bytes from each offset, the first in the lowest bits.
template <int n>
DORN_INLINE Vec<uint32_t, n> gather32(const uint8_t* base, Vec<int32_t, n> offsets) {
    Vec<uint32_t, n> result;
    for (int i = 0; i < n; ++i) {
        uint32_t word;
        __builtin_memcpy(&word, base + offsets.raw[i], sizeof word);
        result.raw[i] = word;
    }
    return result;
}

// Asks for a cache line a good while ahead of its use: it need not come into the nearest cache.
DORN_INLINE void prefetchFar(const void* address) {
    __builtin_prefetch(address, 0, 2);
}

#if !defined(DORN_PORTABLE_PRIMITIVES)

struct EvenWords {
    static constexpr int at(int i) { return 2 * i; }
};

template <int n>
requires(n >= 2) DORN_INLINE Vec<int32_t, 2 * n> lowWords(Vec<double, n> lower, Vec<double, n> upper) {
    return shuffle<EvenWords>(bitCast<Vec<int32_t, 2 * n>>(lower), bitCast<Vec<int32_t, 2 * n>>(upper));
}

DORN_INLINE Vec<double, 2> truncate(Vec<double, 2> v) {
#if defined(__SSE4_1__)
    return {(Vec<double, 2>::Raw)_mm_round_pd((__m128d)v.raw, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
#else
    return {(Vec<double, 2>::Raw)_mm_cvtepi32_pd(_mm_cvttpd_epi32((__m128d)v.raw))};
#endif
}

DORN_INLINE Vec<float, 4> demoteFloats(Vec<double, 2> lower, Vec<double, 2> upper) {
    return {(Vec<float, 4>::Raw)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lower.raw),
                                              _mm_cvtpd_ps((__m128d)upper.raw))};
}

DORN_INLINE Vec<double, 2> min(Vec<double, 2> a, Vec<double, 2> b) {
    return {(Vec<double, 2>::Raw)_mm_min_pd((__m128d)a.raw, (__m128d)b.raw)};
}

DORN_INLINE Vec<double, 2> max(Vec<double, 2> a, Vec<double, 2> b) {
    return {(Vec<double, 2>::Raw)_mm_max_pd((__m128d)a.raw, (__m128d)b.raw)};
}

#if defined(__AVX2__)

DORN_INLINE Vec<double, 4> truncate(Vec<double, 4> v) {
    return {(Vec<double, 4>::Raw)_mm256_round_pd((__m256d)v.raw, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};
}

DORN_INLINE Vec<double, 4> wholeMulAdd(Vec<double, 4> a, Vec<double, 4> b, Vec<double, 4> c) {
    return {(Vec<double, 4>::Raw)_mm256_fmadd_pd((__m256d)a.raw, (__m256d)b.raw, (__m256d)c.raw)};
}

DORN_INLINE Vec<float, 8> demoteFloats(Vec<double, 4> lower, Vec<double, 4> upper) {
    return {(Vec<float, 8>::Raw)_mm256_set_m128(_mm256_cvtpd_ps((__m256d)upper.raw),
                                                _mm256_cvtpd_ps((__m256d)lower.raw))};
}

DORN_INLINE Vec<double, 4> min(Vec<double, 4> a, Vec<double, 4> b) {
    return {(Vec<double, 4>::Raw)_mm256_min_pd((__m256d)a.raw, (__m256d)b.raw)};
}

DORN_INLINE Vec<double, 4> max(Vec<double, 4> a, Vec<double, 4> b) {
    return {(Vec<double, 4>::Raw)_mm256_max_pd((__m256d)a.raw, (__m256d)b.raw)};
}

DORN_INLINE Vec<uint32_t, 8> gather32(const uint8_t* base, Vec<int32_t, 8> offsets) {
    return vec<Vec<uint32_t, 8>>(
        _mm256_i32gather_epi32(reinterpret_cast<const int*>(base), reg256(offsets), 1));
}

#endif

#if defined(__AVX512F__)

// One rounded operation and an exact one, where the instruction for it takes twice as long.
DORN_INLINE Vec<double, 8> truncate(Vec<double, 8> v) {
    const __m512d ones = _mm512_set1_pd(kLowWord);
    const __m512d whole = _mm512_add_round_pd((__m512d)v.raw, ones, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
    return {(Vec<double, 8>::Raw)_mm512_sub_pd(whole, ones)};
}

DORN_INLINE Vec<double, 8> wholeMulAdd(Vec<double, 8> a, Vec<double, 8> b, Vec<double, 8> c) {
    return {(Vec<double, 8>::Raw)_mm512_fmadd_pd((__m512d)a.raw, (__m512d)b.raw, (__m512d)c.raw)};
}

DORN_INLINE Vec<float, 16> demoteFloats(Vec<double, 8> lower, Vec<double, 8> upper) {
    const __m512 low = _mm512_castps256_ps512(_mm512_cvtpd_ps((__m512d)lower.raw));
    const __m256 high = _mm512_cvtpd_ps((__m512d)upper.raw);
    return {(Vec<float, 16>::Raw)_mm512_castpd_ps(
        _mm512_insertf64x4(_mm512_castps_pd(low), _mm256_castps_pd(high), 1))};
}

DORN_INLINE Vec<double, 8> min(Vec<double, 8> a, Vec<double, 8> b) {
    return {(Vec<double, 8>::Raw)_mm512_min_pd((__m512d)a.raw, (__m512d)b.raw)};
}

DORN_INLINE Vec<double, 8> max(Vec<double, 8> a, Vec<double, 8> b) {
    return {(Vec<double, 8>::Raw)_mm512_max_pd((__m512d)a.raw, (__m512d)b.raw)};
}

DORN_INLINE Vec<uint32_t, 16> gather32(const uint8_t* base, Vec<int32_t, 16> offsets) {
    return vec<Vec<uint32_t, 16>>(_mm512_i32gather_epi32(reg512(offsets), base, 1));
}

#endif

#endif

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
