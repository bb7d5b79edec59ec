#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_X86AVX512_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_X86AVX512_H

// The operations of Portable.h on 512-bit registers: 32-bit lanes with AVX-512 F, the others with BW.

#include "primitives/core/simd/X86Avx2.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

template <typename T, int n>
DORN_INLINE __m512i reg512(Vec<T, n> v) {
    return (__m512i)v.raw;
}

template <typename V>
DORN_INLINE V vec(__m512i raw) {
    return {(typename V::Raw)raw};
}

DORN_INLINE Vec<int32_t, 16> widenFrom(As<Vec<int32_t, 16>>, const uint8_t* from) {
    return vec<Vec<int32_t, 16>>(_mm512_cvtepu8_epi32(load128(from)));
}

DORN_INLINE Vec<int32_t, 16> widenFrom(As<Vec<int32_t, 16>>, const uint16_t* from) {
    return vec<Vec<int32_t, 16>>(
        _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
}

DORN_INLINE Vec<int32_t, 16> widenFrom(As<Vec<int32_t, 16>>, const int16_t* from) {
    return vec<Vec<int32_t, 16>>(
        _mm512_cvtepi16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
}

DORN_INLINE void narrowTo(int16_t* to, Vec<int32_t, 16> v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtsepi32_epi16(reg512(v)));
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int32_t, 16> v) {
    store128(to, _mm512_cvtusepi32_epi8(_mm512_max_epi32(reg512(v), _mm512_setzero_si512())));
}

DORN_INLINE Vec<int32_t, 16> truncateInt(Vec<float, 16> v) {
    return vec<Vec<int32_t, 16>>(_mm512_cvttps_epi32((__m512)v.raw));
}

DORN_INLINE Vec<int32_t, 16> nearestInt(Vec<float, 16> v) {
    return vec<Vec<int32_t, 16>>(_mm512_cvtps_epi32((__m512)v.raw));
}

DORN_INLINE Vec<float, 16> toFloat(Vec<int32_t, 16> v) {
    return {(Vec<float, 16>::Raw)_mm512_cvtepi32_ps(reg512(v))};
}

DORN_INLINE Vec<float, 16> mulAdd(Vec<float, 16> a, Vec<float, 16> b, Vec<float, 16> c) {
    return {(Vec<float, 16>::Raw)_mm512_fmadd_ps((__m512)a.raw, (__m512)b.raw, (__m512)c.raw)};
}

template <typename T, int n>
requires(sizeof(Vec<T, n>) == 64) DORN_INLINE void storeStream(T* to, Vec<T, n> v) {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(to), reg512(v));
}

#if defined(__AVX512BW__)

DORN_INLINE Vec<int16_t, 32> widenFrom(As<Vec<int16_t, 32>>, const uint8_t* from) {
    return vec<Vec<int16_t, 32>>(
        _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))));
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int16_t, 32> v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                        _mm512_cvtusepi16_epi8(_mm512_max_epi16(reg512(v), _mm512_setzero_si512())));
}

DORN_INLINE Vec<uint8_t, 64> narrowPairBlocks(As<Vec<uint8_t, 64>>, Vec<int16_t, 32> lower,
                                              Vec<int16_t, 32> upper) {
    return vec<Vec<uint8_t, 64>>(_mm512_packus_epi16(reg512(lower), reg512(upper)));
}

DORN_INLINE Vec<int16_t, 32> narrowPairBlocks(As<Vec<int16_t, 32>>, Vec<int32_t, 16> lower,
                                              Vec<int32_t, 16> upper) {
    return vec<Vec<int16_t, 32>>(_mm512_packs_epi32(reg512(lower), reg512(upper)));
}

// Blocks that come as lower, upper, lower, upper and so on, in order.
DORN_INLINE __m512i restoreOrder(__m512i blocks) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), blocks);
}

DORN_INLINE Vec<uint8_t, 64> narrowPair(As<Vec<uint8_t, 64>> as, Vec<int16_t, 32> lower,
                                        Vec<int16_t, 32> upper) {
    return vec<Vec<uint8_t, 64>>(restoreOrder(reg512(narrowPairBlocks(as, lower, upper))));
}

DORN_INLINE Vec<int16_t, 32> narrowPair(As<Vec<int16_t, 32>> as, Vec<int32_t, 16> lower,
                                        Vec<int32_t, 16> upper) {
    return vec<Vec<int16_t, 32>>(restoreOrder(reg512(narrowPairBlocks(as, lower, upper))));
}

DORN_INLINE Vec<int16_t, 32> mulHigh(Vec<int16_t, 32> a, Vec<int16_t, 32> b) {
    return vec<Vec<int16_t, 32>>(_mm512_mulhi_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<uint16_t, 32> mulHigh(Vec<uint16_t, 32> a, Vec<uint16_t, 32> b) {
    return vec<Vec<uint16_t, 32>>(_mm512_mulhi_epu16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<int32_t, 16> mulPairs(Vec<int16_t, 32> a, Vec<int16_t, 32> b) {
    return vec<Vec<int32_t, 16>>(_mm512_madd_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<int16_t, 32> mulPairs(Vec<uint8_t, 64> a, Vec<int8_t, 64> b) {
    return vec<Vec<int16_t, 32>>(_mm512_maddubs_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<int16_t, 32> mulHighRounded(Vec<int16_t, 32> a, Vec<int16_t, 32> b) {
    return vec<Vec<int16_t, 32>>(_mm512_mulhrs_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<uint8_t, 64> lookupBlocks(Vec<uint8_t, 64> table, Vec<uint8_t, 64> numbers) {
    return vec<Vec<uint8_t, 64>>(_mm512_shuffle_epi8(reg512(table), reg512(numbers)));
}

DORN_INLINE Vec<uint8_t, 64> sameBlocksFrom(As<Vec<uint8_t, 64>>, const uint8_t* from) {
    return vec<Vec<uint8_t, 64>>(_mm512_broadcast_i32x4(load128(from)));
}

DORN_INLINE Vec<uint8_t, 64> twinBlocksFrom(As<Vec<uint8_t, 64>>, const uint8_t* base,
                                            const int32_t* offsets) {
    const __m512i lower = _mm512_castsi256_si512(twinBlock(base + offsets[0]));
    return vec<Vec<uint8_t, 64>>(_mm512_inserti64x4(lower, twinBlock(base + offsets[1]), 1));
}

DORN_INLINE Vec<uint8_t, 64> blocksFrom(As<Vec<uint8_t, 64>>, const uint8_t* base, const int32_t* offsets) {
    const __m512i lower = _mm512_castsi256_si512(twoBlocks(base, offsets));
    return vec<Vec<uint8_t, 64>>(_mm512_inserti64x4(lower, twoBlocks(base, offsets + 2), 1));
}

DORN_INLINE Vec<uint8_t, 64> addSaturated(Vec<uint8_t, 64> a, Vec<uint8_t, 64> b) {
    return vec<Vec<uint8_t, 64>>(_mm512_adds_epu8(reg512(a), reg512(b)));
}

DORN_INLINE Vec<int16_t, 32> addSaturated(Vec<int16_t, 32> a, Vec<int16_t, 32> b) {
    return vec<Vec<int16_t, 32>>(_mm512_adds_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<uint16_t, 32> addSaturated(Vec<uint16_t, 32> a, Vec<uint16_t, 32> b) {
    return vec<Vec<uint16_t, 32>>(_mm512_adds_epu16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<uint8_t, 64> subSaturated(Vec<uint8_t, 64> a, Vec<uint8_t, 64> b) {
    return vec<Vec<uint8_t, 64>>(_mm512_subs_epu8(reg512(a), reg512(b)));
}

DORN_INLINE Vec<int16_t, 32> subSaturated(Vec<int16_t, 32> a, Vec<int16_t, 32> b) {
    return vec<Vec<int16_t, 32>>(_mm512_subs_epi16(reg512(a), reg512(b)));
}

DORN_INLINE Vec<uint16_t, 32> subSaturated(Vec<uint16_t, 32> a, Vec<uint16_t, 32> b) {
    return vec<Vec<uint16_t, 32>>(_mm512_subs_epu16(reg512(a), reg512(b)));
}

#endif

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
