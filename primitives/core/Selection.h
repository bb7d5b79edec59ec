#ifndef DORNIMAGE_PRIMITIVES_CORE_SELECTION_H
#define DORNIMAGE_PRIMITIVES_CORE_SELECTION_H

#include <cstdint>

#include "primitives/core/Frame.h"

namespace primitives {

// The features of every processor that variant 0 runs on: MMX, SSE, SSE2.
inline constexpr std::uint64_t kFloorFeatures = IPP_FEATURE_MMX | IPP_FEATURE_SSE | IPP_FEATURE_SSE2;

// A row of the variants table.
struct VariantRow {
    std::int32_t index;
    std::uint64_t test;    // the row is picked when the mask has all of these
    std::uint64_t implied; // bits that are in force with the row
};

struct Selection {
    std::int32_t index;     // 0 to 7
    std::uint64_t features; // the mask to be in force
    IppStatus status;
};

// Picks the variant for the features in `request`, given the detected ones. IPP_FEATURE_FORCE in the request
// skips the comparison with `detected`. ippSetCpuFeatures tells the status codes.
Selection selectVariant(std::uint64_t request, std::uint64_t detected);

// The row that picks a variant and implies the most; null when there is no such index.
const VariantRow* findVariant(std::int32_t index);

} // namespace primitives

#endif
