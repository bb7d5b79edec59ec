#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_X86AVX2_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_X86AVX2_H

// The operations of Portable.h on the 256-bit registers of AVX2.

#include "primitives/core/simd/X86.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

template <typename T, int n>
DORN_INLINE __m256i reg256(Vec<T, n> v) {
    return (__m256i)v.raw;
}

template <typename V>
DORN_INLINE V vec(__m256i raw) {
    return {(typename V::Raw)raw};
}

DORN_INLINE Vec<int16_t, 16> widenFrom(As<Vec<int16_t, 16>>, const uint8_t* from) {
    return vec<Vec<int16_t, 16>>(_mm256_cvtepu8_epi16(load128(from)));
}

DORN_INLINE Vec<int32_t, 8> widenFrom(As<Vec<int32_t, 8>>, const uint8_t* from) {
    return vec<Vec<int32_t, 8>>(_mm256_cvtepu8_epi32(load64(from)));
}

DORN_INLINE Vec<int32_t, 8> widenFrom(As<Vec<int32_t, 8>>, const uint16_t* from) {
    return vec<Vec<int32_t, 8>>(_mm256_cvtepu16_epi32(load128(from)));
}

DORN_INLINE Vec<int32_t, 8> widenFrom(As<Vec<int32_t, 8>>, const int16_t* from) {
    return vec<Vec<int32_t, 8>>(_mm256_cvtepi16_epi32(load128(from)));
}

DORN_INLINE __m128i lowerHalf(__m256i v) {
    return _mm256_castsi256_si128(v);
}

DORN_INLINE __m128i upperHalf(__m256i v) {
    return _mm256_extracti128_si256(v, 1);
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int16_t, 16> v) {
    store128(to, _mm_packus_epi16(lowerHalf(reg256(v)), upperHalf(reg256(v))));
}

DORN_INLINE void narrowTo(int16_t* to, Vec<int32_t, 8> v) {
    store128(to, _mm_packs_epi32(lowerHalf(reg256(v)), upperHalf(reg256(v))));
}

DORN_INLINE void narrowTo(uint8_t* to, Vec<int32_t, 8> v) {
    const __m128i words = _mm_packs_epi32(lowerHalf(reg256(v)), upperHalf(reg256(v)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(words, words));
}

DORN_INLINE Vec<uint8_t, 32> narrowPairBlocks(As<Vec<uint8_t, 32>>, Vec<int16_t, 16> lower,
                                              Vec<int16_t, 16> upper) {
    return vec<Vec<uint8_t, 32>>(_mm256_packus_epi16(reg256(lower), reg256(upper)));
}

DORN_INLINE Vec<int16_t, 16> narrowPairBlocks(As<Vec<int16_t, 16>>, Vec<int32_t, 8> lower,
                                              Vec<int32_t, 8> upper) {
    return vec<Vec<int16_t, 16>>(_mm256_packs_epi32(reg256(lower), reg256(upper)));
}

// Blocks that come as lower, upper, lower, upper, in order.
DORN_INLINE __m256i restoreOrder(__m256i blocks) {
    return _mm256_permute4x64_epi64(blocks, 0xD8);
}

DORN_INLINE Vec<uint8_t, 32> narrowPair(As<Vec<uint8_t, 32>> as, Vec<int16_t, 16> lower,
                                        Vec<int16_t, 16> upper) {
    return vec<Vec<uint8_t, 32>>(restoreOrder(reg256(narrowPairBlocks(as, lower, upper))));
}

DORN_INLINE Vec<int16_t, 16> narrowPair(As<Vec<int16_t, 16>> as, Vec<int32_t, 8> lower,
                                        Vec<int32_t, 8> upper) {
    return vec<Vec<int16_t, 16>>(restoreOrder(reg256(narrowPairBlocks(as, lower, upper))));
}

DORN_INLINE Vec<int16_t, 16> mulHigh(Vec<int16_t, 16> a, Vec<int16_t, 16> b) {
    return vec<Vec<int16_t, 16>>(_mm256_mulhi_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<uint16_t, 16> mulHigh(Vec<uint16_t, 16> a, Vec<uint16_t, 16> b) {
    return vec<Vec<uint16_t, 16>>(_mm256_mulhi_epu16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int32_t, 8> mulPairs(Vec<int16_t, 16> a, Vec<int16_t, 16> b) {
    return vec<Vec<int32_t, 8>>(_mm256_madd_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int16_t, 16> mulPairs(Vec<uint8_t, 32> a, Vec<int8_t, 32> b) {
    return vec<Vec<int16_t, 16>>(_mm256_maddubs_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int16_t, 16> mulHighRounded(Vec<int16_t, 16> a, Vec<int16_t, 16> b) {
    return vec<Vec<int16_t, 16>>(_mm256_mulhrs_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<uint8_t, 32> lookupBlocks(Vec<uint8_t, 32> table, Vec<uint8_t, 32> numbers) {
    return vec<Vec<uint8_t, 32>>(_mm256_shuffle_epi8(reg256(table), reg256(numbers)));
}

DORN_INLINE __m256i twoBlocks(const uint8_t* base, const int32_t* offsets) {
    const __m256i lower = _mm256_castsi128_si256(load128(base + offsets[0]));
    return _mm256_inserti128_si256(lower, load128(base + offsets[1]), 1);
}

DORN_INLINE __m256i twinBlock(const uint8_t* from) {
    return _mm256_broadcastsi128_si256(load128(from));
}

DORN_INLINE Vec<uint8_t, 32> sameBlocksFrom(As<Vec<uint8_t, 32>>, const uint8_t* from) {
    return vec<Vec<uint8_t, 32>>(twinBlock(from));
}

DORN_INLINE Vec<uint8_t, 32> twinBlocksFrom(As<Vec<uint8_t, 32>>, const uint8_t* base,
                                            const int32_t* offsets) {
    return vec<Vec<uint8_t, 32>>(twinBlock(base + offsets[0]));
}

DORN_INLINE Vec<uint8_t, 32> blocksFrom(As<Vec<uint8_t, 32>>, const uint8_t* base, const int32_t* offsets) {
    return vec<Vec<uint8_t, 32>>(twoBlocks(base, offsets));
}

DORN_INLINE Vec<uint8_t, 32> addSaturated(Vec<uint8_t, 32> a, Vec<uint8_t, 32> b) {
    return vec<Vec<uint8_t, 32>>(_mm256_adds_epu8(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int16_t, 16> addSaturated(Vec<int16_t, 16> a, Vec<int16_t, 16> b) {
    return vec<Vec<int16_t, 16>>(_mm256_adds_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<uint16_t, 16> addSaturated(Vec<uint16_t, 16> a, Vec<uint16_t, 16> b) {
    return vec<Vec<uint16_t, 16>>(_mm256_adds_epu16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<uint8_t, 32> subSaturated(Vec<uint8_t, 32> a, Vec<uint8_t, 32> b) {
    return vec<Vec<uint8_t, 32>>(_mm256_subs_epu8(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int16_t, 16> subSaturated(Vec<int16_t, 16> a, Vec<int16_t, 16> b) {
    return vec<Vec<int16_t, 16>>(_mm256_subs_epi16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<uint16_t, 16> subSaturated(Vec<uint16_t, 16> a, Vec<uint16_t, 16> b) {
    return vec<Vec<uint16_t, 16>>(_mm256_subs_epu16(reg256(a), reg256(b)));
}

DORN_INLINE Vec<int32_t, 8> truncateInt(Vec<float, 8> v) {
    return vec<Vec<int32_t, 8>>(_mm256_cvttps_epi32((__m256)v.raw));
}

DORN_INLINE Vec<int32_t, 8> nearestInt(Vec<float, 8> v) {
    return vec<Vec<int32_t, 8>>(_mm256_cvtps_epi32((__m256)v.raw));
}

DORN_INLINE Vec<float, 8> toFloat(Vec<int32_t, 8> v) {
    return {(Vec<float, 8>::Raw)_mm256_cvtepi32_ps(reg256(v))};
}

DORN_INLINE Vec<float, 8> mulAdd(Vec<float, 8> a, Vec<float, 8> b, Vec<float, 8> c) {
    return {(Vec<float, 8>::Raw)_mm256_fmadd_ps((__m256)a.raw, (__m256)b.raw, (__m256)c.raw)};
}

template <typename T, int n>
requires(sizeof(Vec<T, n>) == 32) DORN_INLINE void storeStream(T* to, Vec<T, n> v) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(to), reg256(v));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
