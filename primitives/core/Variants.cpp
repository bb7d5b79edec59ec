// What a tool or a test can ask about the variants.

#include "primitives/core/Detection.h"
#include "primitives/core/Dispatch.h"
#include "primitives/core/Selection.h"
#include "primitives/core/VariantProbe.h"

using namespace primitives;

namespace {

// What the code of a variant really uses. Less than what the variant implies: variant 2 also serves
// processors that stop at SSSE3, and no kernel needs ER or PF.
struct VariantNeeds {
    const char* name;
    std::uint64_t features;
    bool avx512State;
};

constexpr std::uint64_t kAvx = 0xDF | IPP_FEATURE_AVX | IPP_FEATURE_AVX_SAVED;
constexpr std::uint64_t kAvx2 = kAvx | IPP_FEATURE_AVX2;
constexpr std::uint64_t kAvx512 = kAvx2 | IPP_FEATURE_AVX512F | IPP_FEATURE_AVX512CD;

constexpr VariantNeeds kNeeds[IPP_VARIANT_COUNT] = {
    {"SSE2", kFloorFeatures, false},
    {"SSE3", 0xF, false},
    {"SSSE3", 0x1F, false},
    {"SSE4.2", 0xDF, false},
    {"AVX", kAvx, false},
    {"AVX2", kAvx2, false},
    {"AVX-512 many-core", kAvx512, true},
    {"AVX-512", kAvx512 | IPP_FEATURE_AVX512BW | IPP_FEATURE_AVX512DQ | IPP_FEATURE_AVX512VL, true},
};

bool isIndex(int index) {
    return index >= 0 && index < IPP_VARIANT_COUNT;
}

SavedStates savedStates() {
    const std::optional<ProcessorQueries> queries = processorQueries();
    return queries ? gatherSavedStates(*queries) : SavedStates{};
}

} // namespace

int ippGetVariantIndex(void) {
    return ippVariantIndex.load(std::memory_order_relaxed);
}

int ippProbeVariant(void) {
    return dispatch<VariantProbe>();
}

const char* ippGetVariantName(int index) {
    return isIndex(index) ? kNeeds[index].name : nullptr;
}

uint64_t ippGetVariantFeatures(int index) {
    const VariantRow* row = findVariant(index);
    return row ? row->implied : 0;
}

int ippIsVariantBuilt(int index) {
    return isIndex(index) && ippVariantTable<VariantProbe, int (*)()>::slots[index + 1]() == index ? 1 : 0;
}

int ippIsVariantRunnable(int index) {
    if (!isIndex(index)) {
        return 0;
    }
    const VariantNeeds& needs = kNeeds[index];
    const std::optional<ProcessorQueries> queries = processorQueries();
    const std::uint64_t features = queries ? gatherFeatures(*queries) : kFloorFeatures;
    return (needs.features & ~features) == 0 && (!needs.avx512State || savedStates().avx512) ? 1 : 0;
}

int ippIsAvxStateSaved(void) {
    return savedStates().avx ? 1 : 0;
}

int ippIsAvx512StateSaved(void) {
    return savedStates().avx512 ? 1 : 0;
}
