#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_X86_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_X86_H

// The operations of Portable.h on the registers of x86 processors, as far as the level has them.

#include <immintrin.h>

#include "primitives/core/simd/Portable.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

// ---------------------------------------------------------------- 128 bits

template <typename T, int n>
DORN_INLINE __m128i reg128(Vec<T, n> v) {
    return (__m128i)v.raw;
}

template <typename V>
DORN_INLINE V vec(__m128i raw) {
    return {(typename V::Raw)raw};
}

DORN_INLINE __m128i load64(const void* from) {
    return _mm_loadl_epi64(static_cast<const __m128i*>(from));
}

DORN_INLINE __m128i load32(const void* from) {
    int32_t bits;
    __builtin_memcpy(&bits, from, sizeof bits);
    return _mm_cvtsi32_si128(bits);
}

DORN_INLINE __m128i load128(const void* from) {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

DORN_INLINE void store128(void* to, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(to), v);
}

DORN_INLINE Vec<int16_t, 8> widenFrom(As<Vec<int16_t, 8>>, const uint8_t* from) {
#if defined(__SSE4_1__)
    return vec<Vec<int16_t, 8>>(_mm_cvtepu8_epi16(load64(from)));
#else
    return vec<Vec<int16_t, 8>>(_mm_unpacklo_epi8(load64(from), _mm_setzero_si128()));
#endif
}

DORN_INLINE Vec<int32_t, 4> widenFrom(As<Vec<int32_t, 4>>, const uint8_t* from) {
#if defined(__SSE4_1__)
    return vec<Vec<int32_t, 4>>(_mm_cvtepu8_epi32(load32(from)));
#else
    const __m128i none = _mm_setzero_si128();
    return vec<Vec<int32_t, 4>>(_mm_unpacklo_epi16(_mm_unpacklo_epi8(load32(from), none), none));
#endif
}

DORN_INLINE Vec<int32_t, 4> widenFrom(As<Vec<int32_t, 4>>, const uint16_t* from) {
    return vec<Vec<int32_t, 4>>(_mm_unpacklo_epi16(load64(from), _mm_setzero_si128()));
}

DORN_INLINE Vec<int32_t, 4> widenFrom(As<Vec<int32_t, 4>>, const int16_t* from) {
#if defined(__SSE4_1__)
    return vec<Vec<int32_t, 4>>(_mm_cvtepi16_epi32(load64(from)));
#else
    const __m128i twice = load64(from);
    return vec<Vec<int32_t, 4>>(_mm_srai_epi32(_mm_unpacklo_epi16(twice, twice), 16));
#endif
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int16_t, 8> v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(reg128(v), reg128(v)));
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int32_t, 4> v) {
    const __m128i words = _mm_packs_epi32(reg128(v), reg128(v));
    const int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    __builtin_memcpy(to, &bytes, sizeof bytes);
}

DORN_INLINE void narrowTo(int16_t* to, Vec<int32_t, 4> v) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packs_epi32(reg128(v), reg128(v)));
}

DORN_INLINE Vec<uint8_t, 16> narrowPair(As<Vec<uint8_t, 16>>, Vec<int16_t, 8> lower, Vec<int16_t, 8> upper) {
    return vec<Vec<uint8_t, 16>>(_mm_packus_epi16(reg128(lower), reg128(upper)));
}

DORN_INLINE Vec<int16_t, 8> narrowPair(As<Vec<int16_t, 8>>, Vec<int32_t, 4> lower, Vec<int32_t, 4> upper) {
    return vec<Vec<int16_t, 8>>(_mm_packs_epi32(reg128(lower), reg128(upper)));
}

DORN_INLINE Vec<uint8_t, 16> narrowPairBlocks(As<Vec<uint8_t, 16>> as, Vec<int16_t, 8> lower,
                                              Vec<int16_t, 8> upper) {
    return narrowPair(as, lower, upper);
}

DORN_INLINE Vec<int16_t, 8> narrowPairBlocks(As<Vec<int16_t, 8>> as, Vec<int32_t, 4> lower,
                                             Vec<int32_t, 4> upper) {
    return narrowPair(as, lower, upper);
}

DORN_INLINE Vec<int16_t, 8> mulHigh(Vec<int16_t, 8> a, Vec<int16_t, 8> b) {
    return vec<Vec<int16_t, 8>>(_mm_mulhi_epi16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<uint16_t, 8> mulHigh(Vec<uint16_t, 8> a, Vec<uint16_t, 8> b) {
    return vec<Vec<uint16_t, 8>>(_mm_mulhi_epu16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<int32_t, 4> mulPairs(Vec<int16_t, 8> a, Vec<int16_t, 8> b) {
    return vec<Vec<int32_t, 4>>(_mm_madd_epi16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<int16_t, 8> mulPairs(Vec<uint8_t, 16> a, Vec<int8_t, 16> b) {
#if defined(__SSSE3__)
    return vec<Vec<int16_t, 8>>(_mm_maddubs_epi16(reg128(a), reg128(b)));
#else
    const __m128i even = _mm_mullo_epi16(_mm_and_si128(reg128(a), _mm_set1_epi16(0xFF)),
                                         _mm_srai_epi16(_mm_slli_epi16(reg128(b), 8), 8));
    const __m128i odd = _mm_mullo_epi16(_mm_srli_epi16(reg128(a), 8), _mm_srai_epi16(reg128(b), 8));
    return vec<Vec<int16_t, 8>>(_mm_adds_epi16(even, odd));
#endif
}

#if defined(__SSSE3__)
DORN_INLINE Vec<int16_t, 8> mulHighRounded(Vec<int16_t, 8> a, Vec<int16_t, 8> b) {
    return vec<Vec<int16_t, 8>>(_mm_mulhrs_epi16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<uint8_t, 16> lookupBlocks(Vec<uint8_t, 16> table, Vec<uint8_t, 16> numbers) {
    return vec<Vec<uint8_t, 16>>(_mm_shuffle_epi8(reg128(table), reg128(numbers)));
}
#endif

DORN_INLINE Vec<uint8_t, 16> blocksFrom(As<Vec<uint8_t, 16>>, const uint8_t* base, const int32_t* offsets) {
    return vec<Vec<uint8_t, 16>>(load128(base + offsets[0]));
}

DORN_INLINE Vec<uint8_t, 16> sameBlocksFrom(As<Vec<uint8_t, 16>>, const uint8_t* from) {
    return vec<Vec<uint8_t, 16>>(load128(from));
}

DORN_INLINE Vec<uint8_t, 16> addSaturated(Vec<uint8_t, 16> a, Vec<uint8_t, 16> b) {
    return vec<Vec<uint8_t, 16>>(_mm_adds_epu8(reg128(a), reg128(b)));
}

DORN_INLINE Vec<int16_t, 8> addSaturated(Vec<int16_t, 8> a, Vec<int16_t, 8> b) {
    return vec<Vec<int16_t, 8>>(_mm_adds_epi16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<uint16_t, 8> addSaturated(Vec<uint16_t, 8> a, Vec<uint16_t, 8> b) {
    return vec<Vec<uint16_t, 8>>(_mm_adds_epu16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<uint8_t, 16> subSaturated(Vec<uint8_t, 16> a, Vec<uint8_t, 16> b) {
    return vec<Vec<uint8_t, 16>>(_mm_subs_epu8(reg128(a), reg128(b)));
}

DORN_INLINE Vec<int16_t, 8> subSaturated(Vec<int16_t, 8> a, Vec<int16_t, 8> b) {
    return vec<Vec<int16_t, 8>>(_mm_subs_epi16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<uint16_t, 8> subSaturated(Vec<uint16_t, 8> a, Vec<uint16_t, 8> b) {
    return vec<Vec<uint16_t, 8>>(_mm_subs_epu16(reg128(a), reg128(b)));
}

DORN_INLINE Vec<int32_t, 4> truncateInt(Vec<float, 4> v) {
    return vec<Vec<int32_t, 4>>(_mm_cvttps_epi32((__m128)v.raw));
}

DORN_INLINE Vec<int32_t, 4> nearestInt(Vec<float, 4> v) {
    return vec<Vec<int32_t, 4>>(_mm_cvtps_epi32((__m128)v.raw));
}

DORN_INLINE Vec<float, 4> toFloat(Vec<int32_t, 4> v) {
    return {(Vec<float, 4>::Raw)_mm_cvtepi32_ps(reg128(v))};
}

template <typename T, int n>
requires(sizeof(Vec<T, n>) == 16) DORN_INLINE void storeStream(T* to, Vec<T, n> v) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(to), reg128(v));
}

#if defined(__FMA__)
DORN_INLINE Vec<float, 4> mulAdd(Vec<float, 4> a, Vec<float, 4> b, Vec<float, 4> c) {
    return {(Vec<float, 4>::Raw)_mm_fmadd_ps((__m128)a.raw, (__m128)b.raw, (__m128)c.raw)};
}
#endif

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
