#ifndef DORNIMAGE_PRIMITIVES_CORE_COPY_H
#define DORNIMAGE_PRIMITIVES_CORE_COPY_H

// Block copies and fills by element size, for level sources.

#include "primitives/core/Frame.h"
#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

// Below this many elements nothing is asked.
constexpr size_t kStreamElements = 32768;
// A block that isn't larger stays in the caches, whatever they hold.
constexpr size_t kStreamBytes = 0x400000;

// True when a block is so large that a copy through the caches would only drive everything else out of them.
// `maxCacheSize` is the size of the largest data cache in bytes, 0 when unknown.
DORN_INLINE bool copyStreams(size_t bytes, size_t maxCacheSize) {
    return bytes > kStreamBytes && bytes > maxCacheSize / 2;
}

// Copies with stores past the caches. The blocks don't overlap.
DORN_INLINE void copyPastCaches(const uint8_t* from, uint8_t* to, size_t bytes) {
    using simd::VecU8;
    constexpr size_t step = sizeof(VecU8);
    const size_t misaligned = reinterpret_cast<uintptr_t>(to) % step;
    size_t head = misaligned == 0 ? 0 : step - misaligned;
    head = head < bytes ? head : bytes;
    __builtin_memcpy(to, from, head);
    size_t at = head;
    for (; at + step <= bytes; at += step) {
        simd::storeStream(to + at, simd::load<VecU8>(from + at));
    }
    simd::fenceStream();
    __builtin_memcpy(to + at, from + at, bytes - at);
}

// Copies `count` elements. The blocks don't overlap.
template <typename T>
DORN_INLINE void ippCopy(const T* from, T* to, size_t count) {
    const size_t bytes = count * sizeof(T);
    if (count >= kStreamElements) {
        int maxCacheSize = 0;
        (void)ippGetMaxCacheSizeB(&maxCacheSize); // stays 0 when unknown
        if (copyStreams(bytes, static_cast<size_t>(maxCacheSize))) {
            copyPastCaches(reinterpret_cast<const uint8_t*>(from), reinterpret_cast<uint8_t*>(to), bytes);
            return;
        }
    }
    __builtin_memcpy(to, from, bytes);
}

// Fills `count` elements with one value.
template <typename T>
DORN_INLINE void ippSet(T value, T* to, size_t count) {
    if constexpr (sizeof(T) == 1) {
        __builtin_memset(to, static_cast<int>(value), count);
    } else {
        using V = simd::Vec<T, simd::kNarrowBytes / static_cast<int>(sizeof(T))>;
        const V values = simd::splat<V>(value);
        size_t i = 0;
        for (; i + V::lanes <= count; i += V::lanes) {
            simd::store(to + i, values);
        }
        for (; i < count; ++i) {
            to[i] = value;
        }
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

#endif
