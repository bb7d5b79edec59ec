#ifndef DORNIMAGE_PRIMITIVES_CORE_SIMD_LEVEL_H
#define DORNIMAGE_PRIMITIVES_CORE_SIMD_LEVEL_H

// The level that this source is being compiled for, for level sources only. The build sets DORN_VARIANT and
// the compiler's switches; everything that a level source defines for itself lives in
// primitives::DORN_LEVEL_NAMESPACE, so that no two levels share a name.

#if !defined(DORN_VARIANT)
#error "Only sources given to dorn_add_kernel_family may include this header."
#endif

#include "primitives/core/Inline.h"

#define DORN_LEVEL_JOIN(prefix, number) prefix##number
#define DORN_LEVEL_NAME(prefix, number) DORN_LEVEL_JOIN(prefix, number)
#define DORN_LEVEL_NAMESPACE DORN_LEVEL_NAME(v, DORN_VARIANT)

namespace primitives {

// The index of the variant that this source is compiled for.
constexpr int kVariant = DORN_VARIANT;

} // namespace primitives

#endif
