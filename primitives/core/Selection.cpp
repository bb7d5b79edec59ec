#include "primitives/core/Selection.h"

#include <iterator>

namespace primitives {
namespace {

// Tried from the top, the first that holds wins. Variant 2 serves three kinds of processor.
constexpr VariantRow kVariants[] = {
    {7, 0x7300000, 0x73081DF},    {6, 0xF00000, 0xF081DF},      {5, IPP_FEATURE_AVX2, 0x81DF},
    {4, IPP_FEATURE_AVX, 0x1DF},  {3, IPP_FEATURE_SSE42, 0xDF}, {2, IPP_FEATURE_SSE41, 0x5F},
    {2, IPP_FEATURE_MOVBE, 0x3F}, {2, IPP_FEATURE_SSSE3, 0x1F}, {1, IPP_FEATURE_SSE3, 0xF},
    {0, IPP_FEATURE_SSE2, 0x7},
};

// Bits that detection never sets, without IPP_FEATURE_FORCE.
constexpr std::uint64_t kUnknownFeatures = 0x7FFFFFFF60000000;

// What a system that doesn't save the wide registers takes away: AVX, the AVX2 group, AVX-512.
constexpr std::uint64_t kWideFeatures = 0x7F08100;

// The first bit, from 0 upward, that is asked for and absent settles the matter.
bool lacksAny(std::uint64_t request, std::uint64_t detected) {
    return (request & ~detected) != 0;
}

const VariantRow* pickRow(std::uint64_t mask) {
    for (const VariantRow& row : kVariants) {
        if ((mask & row.test) == row.test) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

Selection selectVariant(std::uint64_t request, std::uint64_t detected) {
    std::uint64_t mask = request & ~IPP_FEATURE_FORCE;
    IppStatus status = ippStsNoErr;
    if (mask == request) {
        if ((mask & kUnknownFeatures) != 0) {
            status = ippStsUnknownFeature;
        }
        if ((mask & kWideFeatures) != 0 && (detected & IPP_FEATURE_AVX_SAVED) == 0) {
            mask &= ~kWideFeatures;
            status = ippStsFeatureNotSupported;
        }
        if (lacksAny(mask, detected)) {
            status = ippStsFeatureNotSupported;
        }
    }

    const VariantRow* row = pickRow(mask);
    const std::int32_t index = row ? row->index : 0;
    std::uint64_t implied = IPP_FEATURE_MMX;
    if (row) {
        implied = row->implied;
    } else if ((mask & IPP_FEATURE_SSE) != 0) {
        implied = IPP_FEATURE_MMX | IPP_FEATURE_SSE;
    }
    if (status == ippStsNoErr) {
        if (!row) {
            status = ippStsCpuNotSupported;
        } else if ((mask & implied) != implied) {
            status = ippStsIncompleteFeatures;
        }
    }
    return {index, mask | implied, status};
}

const VariantRow* findVariant(std::int32_t index) {
    for (const VariantRow& row : kVariants) {
        if (row.index == index) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace primitives
