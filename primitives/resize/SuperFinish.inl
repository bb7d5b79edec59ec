// From sums to pixels, for the kernels of the super-sampling method.

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

// Block i of the result comes from block i of the four vectors.
DORN_INLINE VecU8 finishInTurn(const NarrowF32 (&sums)[4], NarrowF32 factor) {
    NarrowI32 v[4];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        v[i] = nearestInt(sums[i] * factor);
    }
    return demoteBlocks<VecU8>(demoteBlocks<VecI16>(v[0], v[1]), demoteBlocks<VecI16>(v[2], v[3]));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE
