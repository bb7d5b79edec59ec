#ifndef DORNIMAGE_PRIMITIVES_CORE_DETECTION_H
#define DORNIMAGE_PRIMITIVES_CORE_DETECTION_H

#include <cstdint>

#include "primitives/core/Processor.h"

namespace primitives {

// The feature mask of the processor that answers the queries.
std::uint64_t gatherFeatures(const ProcessorQueries& queries);

// What the operating system saves on a change of task.
struct SavedStates {
    bool avx;    // the 256-bit registers
    bool avx512; // the 512-bit and the mask registers
};
SavedStates gatherSavedStates(const ProcessorQueries& queries);

// True when the vendor words are those that the feature table describes.
bool isNativeVendor(const ProcessorQueries& queries);

// The size in bytes of the largest data cache; 0 when the processor doesn't tell.
std::int32_t gatherMaxCacheSize(const ProcessorQueries& queries);

} // namespace primitives

#endif
