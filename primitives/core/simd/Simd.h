#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_SIMD_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_SIMD_H

// Vectors for the kernels of the primitives, for level sources only. A kernel written on them compiles for
// every level; what an operation costs differs, what it gives doesn't, mulAdd excepted.
//
// Registers by level: 128 bits in variants 0 to 4 (AVX has no wider integers, and the kernels turn integers
// into floats and back), 256 bits in variant 5, 512 bits in variant 7. Variant 6 has 512 bits for 32-bit
// lanes only: there VecU8, VecI16 and their kind have 256 bits, and a kernel that mixes lane widths within a
// register takes NarrowI32 and NarrowF32 for its 32-bit lanes, which are as wide as those.
//
// Two ways from bytes to wider lanes and back:
// - through memory: loadPromote<V> reads as many bytes as V has lanes, demoteStore writes as many;
// - in registers: promoteLowerBlocks and promoteUpperBlocks, then demoteBlocks. Both work within each block
// of
//   128 bits, which is cheap on every level; the order is only restored by the way back.

#include "primitives/core/simd/Portable.h"
#include "primitives/core/simd/Shuffle.h"
#include "primitives/core/simd/Vec.h"
#if !defined(DORN_PORTABLE_PRIMITIVES)
#include "primitives/core/simd/X86.h"
#if defined(__AVX2__)
#include "primitives/core/simd/X86Avx2.h"
#endif
#if defined(__AVX512F__)
#include "primitives/core/simd/X86Avx512.h"
#endif
#endif

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

// Bytes in a register of 32-bit lanes, and of narrower ones.
constexpr int kWideBytes = kVariant >= 6 ? 64 : kVariant == 5 ? 32 : 16;
constexpr int kNarrowBytes = kVariant == 7 ? 64 : kVariant >= 5 ? 32 : 16;

// True when mulAdd rounds once.
constexpr bool kFusesMulAdd = kVariant >= 5;

using VecU8 = Vec<uint8_t, kNarrowBytes>;
using VecI8 = Vec<int8_t, kNarrowBytes>;
using VecI16 = Vec<int16_t, kNarrowBytes / 2>;
using VecU16 = Vec<uint16_t, kNarrowBytes / 2>;
using VecI32 = Vec<int32_t, kWideBytes / 4>;
using VecU32 = Vec<uint32_t, kWideBytes / 4>;
using VecF32 = Vec<float, kWideBytes / 4>;
using NarrowI32 = Vec<int32_t, kNarrowBytes / 4>;
using NarrowU32 = Vec<uint32_t, kNarrowBytes / 4>;
using NarrowF32 = Vec<float, kNarrowBytes / 4>;

// V::lanes elements from memory, each in a wider lane: bytes to 16-bit, 32-bit or float lanes, 16-bit
// elements to 32-bit or float lanes.
template <typename V, typename T>
DORN_INLINE V loadPromote(const T* from) {
    using Lane = typename V::Lane;
    using Signed = Mask<Lane, V::lanes>;
    if constexpr (static_cast<Lane>(0.5F) != Lane{0}) {
        return toFloat(widenFrom(As<Signed>{}, from));
    } else {
        return bitCast<V>(widenFrom(As<Signed>{}, from));
    }
}

// The first `count` of them, at most all, and 0 in the other lanes; nothing behind them is read.
template <typename V, typename T>
DORN_INLINE V loadPromoteN(const T* from, size_t count) {
    T block[V::lanes] = {};
    __builtin_memcpy(block, from, count * sizeof(T));
    return loadPromote<V>(block);
}

// A vector of bytes whose blocks of 128 bits begin at base + offsets[0], base + offsets[1] and so on.
template <typename V>
DORN_INLINE V loadBlocks(const uint8_t* base, const int32_t* offsets) {
    return blocksFrom(As<V>{}, base, offsets);
}

// The same with blocks 0 and 1 from base + offsets[0], blocks 2 and 3 from base + offsets[1] and so on.
template <typename V>
DORN_INLINE V loadTwinBlocks(const uint8_t* base, const int32_t* offsets) {
    return twinBlocksFrom(As<V>{}, base, offsets);
}

// The same with all blocks from `from`.
template <typename V>
DORN_INLINE V loadSameBlocks(const uint8_t* from) {
    return sameBlocksFrom(As<V>{}, from);
}

// All lanes to memory, saturated: signed 16- or 32-bit lanes to bytes, 32-bit lanes to 16-bit elements.
template <typename To, typename T, int n>
DORN_INLINE void demoteStore(To* to, Vec<T, n> v) {
    narrowTo(to, v);
}

// The first `count` of them, at most all; nothing behind them is written.
template <typename To, typename T, int n>
DORN_INLINE void demoteStoreN(To* to, Vec<T, n> v, size_t count) {
    To block[n];
    narrowTo(block, v);
    __builtin_memcpy(to, block, count * sizeof(To));
}

// Makes what storeStream wrote visible to other threads before what follows.
DORN_INLINE void fenceStream() {
#if defined(DORN_PORTABLE_PRIMITIVES)
    __atomic_thread_fence(__ATOMIC_RELEASE);
#else
    _mm_sfence();
#endif
}

// Two vectors in one of lanes half as wide, saturated, lanes in order: signed 32-bit to signed 16-bit,
// signed 16-bit to unsigned 8-bit.
template <typename V, typename From>
DORN_INLINE V demote(From lower, From upper) {
    return narrowPair(As<V>{}, lower, upper);
}

// The same within each block of 128 bits: the way back from promoteLowerBlocks and promoteUpperBlocks, and
// from two vectors made of interleaved ones.
template <typename V, typename From>
DORN_INLINE V demoteBlocks(From lower, From upper) {
    return narrowPairBlocks(As<V>{}, lower, upper);
}

// The lower half of each block of 128 bits, unsigned lanes in lanes twice as wide.
template <typename V, typename From>
DORN_INLINE V promoteLowerBlocks(From v) {
    return bitCast<V>(interleaveLowerBlocks(v, zero<From>()));
}

// The same for the upper half of each block.
template <typename V, typename From>
DORN_INLINE V promoteUpperBlocks(From v) {
    return bitCast<V>(interleaveUpperBlocks(v, zero<From>()));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
