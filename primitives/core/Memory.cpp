#include "primitives/core/Memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "primitives/core/Dispatch.h"

namespace primitives {
namespace {

// Rows and blocks suit the widest stores.
constexpr std::int32_t kAlignment = 64;

// Room in front of a block: the pointer that malloc gave stands just below it, wherever the boundary falls.
constexpr std::int32_t kOverhead = kAlignment + std::int32_t{sizeof(void*)};

Ipp8u* allocate(std::int32_t len) {
    if (len <= 0 || len > INT32_MAX - kOverhead) {
        return nullptr;
    }
    void* raw = std::malloc(static_cast<std::size_t>(len) + kOverhead);
    if (!raw) {
        return nullptr;
    }
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(raw) + kOverhead - 1;
    Ipp8u* block = static_cast<Ipp8u*>(raw) + (kOverhead - 1) - address % kAlignment;
    std::memcpy(block - sizeof raw, &raw, sizeof raw);
    return block;
}

void release(void* ptr) {
    if (ptr) {
        void* raw = nullptr;
        std::memcpy(&raw, static_cast<Ipp8u*>(ptr) - sizeof raw, sizeof raw);
        std::free(raw);
    }
}

Ipp8u* allocateImage(std::int32_t width, std::int32_t height, std::int32_t* stepBytes) {
    if (!stepBytes) {
        return nullptr;
    }
    if (width <= 0 || height <= 0) {
        *stepBytes = 0;
        return nullptr;
    }
    // A width within 63 of the limit wraps to a negative step, whose product is out of range.
    const std::uint32_t rounded = (static_cast<std::uint32_t>(width) + (kAlignment - 1)) & ~(kAlignment - 1U);
    *stepBytes = static_cast<std::int32_t>(rounded);
    const std::int64_t bytes = std::int64_t{*stepBytes} * height;
    if (static_cast<std::uint64_t>(bytes) > INT32_MAX) {
        return nullptr;
    }
    return allocate(static_cast<std::int32_t>(bytes));
}

// Nothing here differs by processor: one function stands in all slots.
template <int>
struct MallocBlock {
    static Ipp8u* run(std::int32_t len) { return allocate(len); }
};

template <int>
struct FreeBlock {
    static void run(void* ptr) { release(ptr); }
};

template <int>
struct MallocImage {
    static Ipp8u* run(std::int32_t width, std::int32_t height, std::int32_t* stepBytes) {
        return allocateImage(width, height, stepBytes);
    }
};

} // namespace
} // namespace primitives

using namespace primitives;

Ipp8u* ippsMalloc_8u(int32_t len) {
    return dispatch<MallocBlock>(len);
}

void ippsFree(void* ptr) {
    dispatch<FreeBlock>(ptr);
}

Ipp8u* ippiMalloc_8u_C1(int32_t width, int32_t height, int32_t* stepBytes) {
    return dispatch<MallocImage>(width, height, stepBytes);
}

void ippiFree(void* ptr) {
    dispatch<FreeBlock>(ptr);
}
