#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_VEC_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_VEC_H

// The vector type, and the operations that the compiler translates well by itself for every level and
// processor.

#include <stddef.h>
#include <stdint.h>

#include "primitives/core/simd/Level.h"

namespace primitives::DORN_LEVEL_NAMESPACE::simd {

// `n` lanes of type T. Arithmetic wraps in integer lanes and rounds every step in float lanes.
template <typename T, int n>
struct Vec {
    using Lane = T;
    static constexpr int lanes = n;
    typedef T Raw __attribute__((vector_size(sizeof(T) * n)));

    Raw raw;
};

template <typename T>
struct UnsignedOf {
    using Type = T;
};
template <>
struct UnsignedOf<int8_t> {
    using Type = uint8_t;
};
template <>
struct UnsignedOf<int16_t> {
    using Type = uint16_t;
};
template <>
struct UnsignedOf<int32_t> {
    using Type = uint32_t;
};
template <>
struct UnsignedOf<int64_t> {
    using Type = uint64_t;
};

// Lanes of a comparison: all bits set for true, none for false.
template <int bytes>
struct MaskLane;
template <>
struct MaskLane<1> {
    using Type = int8_t;
};
template <>
struct MaskLane<2> {
    using Type = int16_t;
};
template <>
struct MaskLane<4> {
    using Type = int32_t;
};
template <>
struct MaskLane<8> {
    using Type = int64_t;
};

template <typename T, int n>
using Mask = Vec<typename MaskLane<sizeof(T)>::Type, n>;

// The same bits as lanes of another type.
template <typename To, typename From>
DORN_INLINE To bitCast(From from) {
    static_assert(sizeof(To) == sizeof(From));
    return {(typename To::Raw)from.raw};
}

template <typename V>
DORN_INLINE V zero() {
    return {typename V::Raw{}};
}

template <typename V>
DORN_INLINE V splat(typename V::Lane value) {
    return {value - typename V::Raw{}};
}

// 0, 1, 2, ... in the lanes.
template <typename V>
DORN_INLINE V iota() {
    V result;
    for (int i = 0; i < V::lanes; ++i) {
        result.raw[i] = static_cast<typename V::Lane>(i);
    }
    return result;
}

// A vector anywhere in memory. A copy by memcpy would go through the stack in wide registers.
template <typename V>
struct InMemory {
    using Lane = typename V::Lane;
    typedef Lane Raw __attribute__((vector_size(sizeof(V)), aligned(alignof(Lane)), may_alias));
};

// Addresses need no alignment beyond the lane's.
template <typename V>
DORN_INLINE V load(const typename V::Lane* from) {
    return {*reinterpret_cast<const typename InMemory<V>::Raw*>(from)};
}

template <typename T, int n>
DORN_INLINE void store(T* to, Vec<T, n> v) {
    *reinterpret_cast<typename InMemory<Vec<T, n>>::Raw*>(to) = v.raw;
}

// The first `count` lanes from memory, at most all, and 0 in the others; nothing behind them is read.
template <typename V>
DORN_INLINE V loadN(const typename V::Lane* from, size_t count) {
    V result = zero<V>();
    __builtin_memcpy(&result, from, count * sizeof(typename V::Lane));
    return result;
}

// The first `count` lanes to memory, at most all; nothing behind them is written.
template <typename T, int n>
DORN_INLINE void storeN(T* to, Vec<T, n> v, size_t count) {
    __builtin_memcpy(to, &v, count * sizeof(T));
}

// Lane 0, and a lane by number.
template <typename T, int n>
DORN_INLINE T first(Vec<T, n> v) {
    return v.raw[0];
}

template <typename T, int n>
DORN_INLINE T extract(Vec<T, n> v, int lane) {
    return v.raw[lane];
}

template <typename T, int n>
using Wrapping = Vec<typename UnsignedOf<T>::Type, n>;

template <typename T, int n>
DORN_INLINE Vec<T, n> operator+(Vec<T, n> a, Vec<T, n> b) {
    using U = Wrapping<T, n>;
    return bitCast<Vec<T, n>>(U{bitCast<U>(a).raw + bitCast<U>(b).raw});
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator-(Vec<T, n> a, Vec<T, n> b) {
    using U = Wrapping<T, n>;
    return bitCast<Vec<T, n>>(U{bitCast<U>(a).raw - bitCast<U>(b).raw});
}

// The low half of the product in integer lanes. In 32-bit lanes costly below SSE4.1, in 8-bit lanes
// everywhere.
template <typename T, int n>
DORN_INLINE Vec<T, n> operator*(Vec<T, n> a, Vec<T, n> b) {
    using U = Wrapping<T, n>;
    return bitCast<Vec<T, n>>(U{bitCast<U>(a).raw * bitCast<U>(b).raw});
}

template <int n>
DORN_INLINE Vec<float, n> operator/(Vec<float, n> a, Vec<float, n> b) {
    return {a.raw / b.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator&(Vec<T, n> a, Vec<T, n> b) {
    return {a.raw & b.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator|(Vec<T, n> a, Vec<T, n> b) {
    return {a.raw | b.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator^(Vec<T, n> a, Vec<T, n> b) {
    return {a.raw ^ b.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator~(Vec<T, n> a) {
    return {~a.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n>& operator+=(Vec<T, n>& a, Vec<T, n> b) {
    return a = a + b;
}

template <typename T, int n>
DORN_INLINE Vec<T, n>& operator-=(Vec<T, n>& a, Vec<T, n> b) {
    return a = a - b;
}

// Shifts by the same number of bits, below the lane's width. To the right signed lanes keep their sign.
template <typename T, int n>
DORN_INLINE Vec<T, n> operator<<(Vec<T, n> a, int bits) {
    using U = Wrapping<T, n>;
    return bitCast<Vec<T, n>>(U{bitCast<U>(a).raw << bits});
}

template <typename T, int n>
DORN_INLINE Vec<T, n> operator>>(Vec<T, n> a, int bits) {
    return {a.raw >> bits};
}

template <typename T, int n>
DORN_INLINE Mask<T, n> equal(Vec<T, n> a, Vec<T, n> b) {
    return {(typename Mask<T, n>::Raw)(a.raw == b.raw)};
}

template <typename T, int n>
DORN_INLINE Mask<T, n> less(Vec<T, n> a, Vec<T, n> b) {
    return {(typename Mask<T, n>::Raw)(a.raw < b.raw)};
}

// `a` where the mask is true, else `b`.
template <typename T, int n>
DORN_INLINE Vec<T, n> select(Mask<T, n> mask, Vec<T, n> a, Vec<T, n> b) {
    return {mask.raw ? a.raw : b.raw};
}

// In float lanes `b` when either is not a number, as the processor's own instructions do.
template <typename T, int n>
DORN_INLINE Vec<T, n> min(Vec<T, n> a, Vec<T, n> b) {
    return {a.raw < b.raw ? a.raw : b.raw};
}

template <typename T, int n>
DORN_INLINE Vec<T, n> max(Vec<T, n> a, Vec<T, n> b) {
    return {a.raw > b.raw ? a.raw : b.raw};
}

template <typename V>
DORN_INLINE V clamp(V v, V low, V high) {
    return min(max(v, low), high);
}

} // namespace primitives::DORN_LEVEL_NAMESPACE::simd

#endif
