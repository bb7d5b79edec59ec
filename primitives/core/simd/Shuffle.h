#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_SHUFFLE_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_SHUFFLE_H

// Lanes brought into another order that is known at compile time: the compiler finds the level's
// instructions.

#if defined(__SSE2__) && !defined(DORN_PORTABLE_PRIMITIVES)
#include <emmintrin.h>
#endif

#include "primitives/core/simd/Vec.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

template <int... i>
struct Indices {};

#if defined(__clang__)
template <typename, int... i>
using IndicesOf = Indices<i...>;
template <int n>
using FirstIndices = __make_integer_seq<IndicesOf, int, n>;
#else
template <int n>
using FirstIndices = Indices<__integer_pack(n)...>;
#endif

template <typename Pattern, typename T, int n, int... i>
DORN_INLINE Vec<T, n> shuffleBy(Vec<T, n> a, Vec<T, n> b, Indices<i...>) {
    return {__builtin_shufflevector(a.raw, b.raw, Pattern::at(i)...)};
}

// Lane i is lane Pattern::at(i) of `a` and `b` one behind the other.
template <typename Pattern, typename T, int n>
DORN_INLINE Vec<T, n> shuffle(Vec<T, n> a, Vec<T, n> b) {
    return shuffleBy<Pattern>(a, b, FirstIndices<n>{});
}

// Lanes in a block of 128 bits.
template <typename T>
constexpr int kBlockLanes = 16 / static_cast<int>(sizeof(T));

template <int number, typename T, int n, int... i>
DORN_INLINE Vec<T, kBlockLanes<T>> blockBy(Vec<T, n> v, Indices<i...>) {
    return {__builtin_shufflevector(v.raw, v.raw, (number * kBlockLanes<T> + i)...)};
}

// A block of 128 bits by number.
template <int number, typename T, int n>
DORN_INLINE Vec<T, kBlockLanes<T>> extractBlock(Vec<T, n> v) {
    return blockBy<number>(v, FirstIndices<kBlockLanes<T>>{});
}

template <int n, int block, int offset>
struct InterleaveBlocks {
    static constexpr int at(int i) {
        return i / block * block + i % block / 2 + offset + (i % 2 == 0 ? 0 : n);
    }
};

// a0 b0 a1 b1 ... from the lower half of each block of 128 bits.
template <typename T, int n>
DORN_INLINE Vec<T, n> interleaveLowerBlocks(Vec<T, n> a, Vec<T, n> b) {
    return shuffle<InterleaveBlocks<n, kBlockLanes<T>, 0>>(a, b);
}

// The same from the upper half of each block.
template <typename T, int n>
DORN_INLINE Vec<T, n> interleaveUpperBlocks(Vec<T, n> a, Vec<T, n> b) {
    return shuffle<InterleaveBlocks<n, kBlockLanes<T>, kBlockLanes<T> / 2>>(a, b);
}

template <int n>
struct InterleaveWhole {
    template <int offset>
    struct From {
        static constexpr int at(int i) { return i / 2 + offset + (i % 2 == 0 ? 0 : n); }
    };
};

// a0 b0 a1 b1 ... from the lower half of the vectors.
template <typename T, int n>
DORN_INLINE Vec<T, n> interleaveLower(Vec<T, n> a, Vec<T, n> b) {
    return shuffle<typename InterleaveWhole<n>::template From<0>>(a, b);
}

// The same from the upper half of the vectors.
template <typename T, int n>
DORN_INLINE Vec<T, n> interleaveUpper(Vec<T, n> a, Vec<T, n> b) {
    return shuffle<typename InterleaveWhole<n>::template From<n / 2>>(a, b);
}

template <int n, int count>
struct SlideUp {
    static constexpr int at(int i) { return i + n - count; }
};

// Lanes moved `count` places toward higher numbers; the highest lanes of `below` come in.
template <int count, typename T, int n>
DORN_INLINE Vec<T, n> slideUp(Vec<T, n> v, Vec<T, n> below) {
    return shuffle<SlideUp<n, count>>(below, v);
}

// The same, zeros come in.
template <int count, typename T, int n>
DORN_INLINE Vec<T, n> slideUp(Vec<T, n> v) {
#if defined(__SSE2__) && !defined(DORN_PORTABLE_PRIMITIVES)
    // The compiler doesn't find this instruction by itself.
    if constexpr (sizeof v == 16) {
        return {(typename Vec<T, n>::Raw)_mm_slli_si128((__m128i)v.raw, count * sizeof(T))};
    }
#endif
    return slideUp<count>(v, zero<Vec<T, n>>());
}

template <int lane>
struct Broadcast {
    static constexpr int at(int) { return lane; }
};

// Every lane the highest one.
template <typename T, int n>
DORN_INLINE Vec<T, n> broadcastLast(Vec<T, n> v) {
    return shuffle<Broadcast<n - 1>>(v, v);
}

template <int step, typename T, int n>
DORN_INLINE Vec<T, n> addSlided(Vec<T, n> v) {
    if constexpr (step < n) {
        return addSlided<2 * step>(v + slideUp<step>(v));
    } else {
        return v;
    }
}

// Each lane the sum of itself and all lanes below.
template <typename T, int n>
DORN_INLINE Vec<T, n> prefixSum(Vec<T, n> v) {
    return addSlided<1>(v);
}

template <int half>
struct UpperLanes {
    static constexpr int at(int i) { return i < half ? i + half : i; }
};

template <int half, typename T, int n>
DORN_INLINE Vec<T, n> addFolded(Vec<T, n> v) {
    if constexpr (half > 0) {
        return addFolded<half / 2>(v + shuffle<UpperLanes<half>>(v, v));
    } else {
        return v;
    }
}

// The sum of all lanes, halves added first.
template <typename T, int n>
DORN_INLINE T reduceSum(Vec<T, n> v) {
    return first(addFolded<n / 2>(v));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
