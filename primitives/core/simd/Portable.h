#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_PORTABLE_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_PORTABLE_H

// What the other operations mean, lane by lane, for any number of lanes. The overloads for registers in X86.h
// take precedence where they exist; elsewhere this is the code that runs.

#include "primitives/core/simd/Shuffle.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

// Names the type of a result.
template <typename V>
struct As {};

// The nearest value that the narrower lane holds.
template <typename To>
DORN_INLINE To saturate(int32_t value) {
    constexpr bool isSigned = static_cast<To>(-1) < 0;
    constexpr int32_t range = 1 << (8 * sizeof(To));
    constexpr int32_t low = isSigned ? -range / 2 : 0;
    constexpr int32_t high = low + range - 1;
    return static_cast<To>(value < low ? low : value > high ? high : value);
}

// Consecutive narrow elements of memory, each in a wider lane.
template <typename L, int n, typename T>
DORN_INLINE Vec<L, n> widenFrom(As<Vec<L, n>>, const T* from) {
    Vec<L, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<L>(from[i]);
    }
    return result;
}

// The other way, each lane saturated.
template <typename To, typename T, int n>
DORN_INLINE void narrowTo(To* to, Vec<T, n> v) {
    for (int i = 0; i < n; ++i) {
        to[i] = saturate<To>(v.raw[i]);
    }
}

// Two vectors in one of the narrower type, lanes in order.
template <typename To, typename T, int n>
DORN_INLINE Vec<To, 2 * n> narrowPair(As<Vec<To, 2 * n>>, Vec<T, n> lower, Vec<T, n> upper) {
    Vec<To, 2 * n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = saturate<To>(lower.raw[i]);
        result.raw[n + i] = saturate<To>(upper.raw[i]);
    }
    return result;
}

template <typename To, typename T, int n>
DORN_INLINE Vec<To, 2 * n> narrowPairBlocks(As<Vec<To, 2 * n>>, Vec<T, n> lower, Vec<T, n> upper) {
    constexpr int block = kBlockLanes<T>;
    Vec<To, 2 * n> result;
    for (int i = 0; i < n; ++i) {
        const int at = i / block * 2 * block + i % block;
        result.raw[at] = saturate<To>(lower.raw[i]);
        result.raw[at + block] = saturate<To>(upper.raw[i]);
    }
    return result;
}

// The high half of the product of 16-bit lanes. Computed in 32 bits of the lanes' own signedness: from a
// wider signed product GCC 12 may take the instruction for unsigned lanes.
template <int n>
DORN_INLINE Vec<int16_t, n> mulHigh(Vec<int16_t, n> a, Vec<int16_t, n> b) {
    Vec<int16_t, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<int16_t>((int32_t{a.raw[i]} * b.raw[i]) >> 16);
    }
    return result;
}

template <int n>
DORN_INLINE Vec<uint16_t, n> mulHigh(Vec<uint16_t, n> a, Vec<uint16_t, n> b) {
    Vec<uint16_t, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<uint16_t>((uint32_t{a.raw[i]} * b.raw[i]) >> 16);
    }
    return result;
}

// a0 b0 + a1 b1, a2 b2 + a3 b3, ...; the one sum that doesn't fit, of four times -32768, wraps.
template <int n>
DORN_INLINE Vec<int32_t, n / 2> mulPairs(Vec<int16_t, n> a, Vec<int16_t, n> b) {
    Vec<int32_t, n / 2> result;
    for (int i = 0; i < n / 2; ++i) {
        const int64_t sum =
            int64_t{a.raw[2 * i]} * b.raw[2 * i] + int64_t{a.raw[2 * i + 1]} * b.raw[2 * i + 1];
        result.raw[i] = static_cast<int32_t>(sum);
    }
    return result;
}

// The same of unsigned with signed bytes, in 16-bit lanes, saturated.
template <int n>
DORN_INLINE Vec<int16_t, n / 2> mulPairs(Vec<uint8_t, n> a, Vec<int8_t, n> b) {
    Vec<int16_t, n / 2> result;
    for (int i = 0; i < n / 2; ++i) {
        result.raw[i] = saturate<int16_t>(a.raw[2 * i] * b.raw[2 * i] + a.raw[2 * i + 1] * b.raw[2 * i + 1]);
    }
    return result;
}

// The product of 16-bit lanes by 2^15, rounded to the nearest, halves up; that of twice -32768 wraps.
template <int n>
DORN_INLINE Vec<int16_t, n> mulHighRounded(Vec<int16_t, n> a, Vec<int16_t, n> b) {
    Vec<int16_t, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<int16_t>((int32_t{a.raw[i]} * b.raw[i] + 0x4000) >> 15);
    }
    return result;
}

// Within each block of 128 bits the bytes of `table` whose numbers, 0 to 15, stand in `numbers`; 0 for
// numbers from 128 on.
template <int n>
DORN_INLINE Vec<uint8_t, n> lookupBlocks(Vec<uint8_t, n> table, Vec<uint8_t, n> numbers) {
    Vec<uint8_t, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = numbers.raw[i] < 128 ? table.raw[i / 16 * 16 + numbers.raw[i]] : uint8_t{0};
    }
    return result;
}

// Blocks of 128 bits, each from its own place in memory, or two and two from the same.
template <int n>
DORN_INLINE Vec<uint8_t, n> blocksFrom(As<Vec<uint8_t, n>>, const uint8_t* base, const int32_t* offsets) {
    Vec<uint8_t, n> result;
    for (int i = 0; i < n; i += 16) {
        __builtin_memcpy(reinterpret_cast<uint8_t*>(&result) + i, base + offsets[i / 16], 16);
    }
    return result;
}

template <int n>
DORN_INLINE Vec<uint8_t, n> twinBlocksFrom(As<Vec<uint8_t, n>>, const uint8_t* base, const int32_t* offsets) {
    Vec<uint8_t, n> result;
    for (int i = 0; i < n; i += 16) {
        __builtin_memcpy(reinterpret_cast<uint8_t*>(&result) + i, base + offsets[i / 32], 16);
    }
    return result;
}

// All blocks from the same place.
template <int n>
DORN_INLINE Vec<uint8_t, n> sameBlocksFrom(As<Vec<uint8_t, n>>, const uint8_t* from) {
    Vec<uint8_t, n> result;
    for (int i = 0; i < n; i += 16) {
        __builtin_memcpy(reinterpret_cast<uint8_t*>(&result) + i, from, 16);
    }
    return result;
}

// 8- and 16-bit lanes, the sum or difference saturated.
template <typename T, int n>
DORN_INLINE Vec<T, n> addSaturated(Vec<T, n> a, Vec<T, n> b) {
    Vec<T, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = saturate<T>(int32_t{a.raw[i]} + b.raw[i]);
    }
    return result;
}

template <typename T, int n>
DORN_INLINE Vec<T, n> subSaturated(Vec<T, n> a, Vec<T, n> b) {
    Vec<T, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = saturate<T>(int32_t{a.raw[i]} - b.raw[i]);
    }
    return result;
}

// Toward zero. Whatever doesn't fit gives the smallest integer, not-a-number included.
template <int n>
DORN_INLINE Vec<int32_t, n> truncateInt(Vec<float, n> v) {
    Vec<int32_t, n> result;
    for (int i = 0; i < n; ++i) {
        const float value = v.raw[i];
        result.raw[i] = value >= -0x1p31F && value < 0x1p31F ? static_cast<int32_t>(value) : INT32_MIN;
    }
    return result;
}

// To the nearest, ties to even; the same for what doesn't fit.
template <int n>
DORN_INLINE Vec<int32_t, n> nearestInt(Vec<float, n> v) {
    Vec<float, n> rounded;
    for (int i = 0; i < n; ++i) {
        // From here on every float is an integer, so that the sum below is rounded to one.
        const float integers = v.raw[i] < 0 ? -0x1p23F : 0x1p23F;
        const bool isFraction = v.raw[i] > -0x1p23F && v.raw[i] < 0x1p23F;
        rounded.raw[i] = isFraction ? (v.raw[i] + integers) - integers : v.raw[i];
    }
    return truncateInt(rounded);
}

template <int n>
DORN_INLINE Vec<float, n> toFloat(Vec<int32_t, n> v) {
    Vec<float, n> result;
    for (int i = 0; i < n; ++i) {
        result.raw[i] = static_cast<float>(v.raw[i]);
    }
    return result;
}

// a * b + c, rounded once on levels with fused multiply-add and twice elsewhere.
template <int n>
DORN_INLINE Vec<float, n> mulAdd(Vec<float, n> a, Vec<float, n> b, Vec<float, n> c) {
    return a * b + c;
}

// Writes past the caches; the address is a multiple of the vector's size.
template <typename T, int n>
DORN_INLINE void storeStream(T* to, Vec<T, n> v) {
    store(to, v);
}

// Asks for a cache line ahead of its use; any address is allowed.
DORN_INLINE void prefetch(const void* address) {
    __builtin_prefetch(address);
}

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
