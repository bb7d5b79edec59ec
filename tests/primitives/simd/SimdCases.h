#ifndef DORNIMAGE_TESTS_PRIMITIVES_SIMD_SIMDCASES_H
#define DORNIMAGE_TESTS_PRIMITIVES_SIMD_SIMDCASES_H

#include <cstddef>

// One operation on vectors of one kind, as compiled for a level.
struct SimdCase {
    const char* name;
    int lanes; // of an input vector
    // Runs the operation on vectors in `a`, `b` and `c` and leaves the result in `out`. `count` is the number
    // of lanes for the operations that take one.
    void (*run)(const void* a, const void* b, const void* c, void* out, std::size_t count);
};

// The operations as compiled for a variant; the list ends with a null name.
template <int variant>
struct SimdCases {
    static const SimdCase* run();
};

#endif
