#include "primitives/core/VariantProbe.h"
#include "primitives/core/simd/Level.h"

template <>
int primitives::VariantProbe<primitives::kVariant>::run() {
    return primitives::kVariant;
}
