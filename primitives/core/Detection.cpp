#include "primitives/core/Detection.h"

#include <algorithm>
#include <limits>

#include "primitives/core/Frame.h"

namespace primitives {
namespace {

constexpr std::uint32_t bit(int number) {
    return std::uint32_t{1} << number;
}

constexpr std::uint32_t kXcr0Avx = 0x6;     // SSE and AVX states
constexpr std::uint32_t kXcr0Avx512 = 0xE6; // those, the mask registers and both halves of the 512-bit ones

// A feature that is one bit of one register.
struct FeatureBit {
    std::uint64_t feature;
    int number;
};

constexpr FeatureBit kLeaf1Edx[] = {{IPP_FEATURE_MMX, 23}, {IPP_FEATURE_SSE, 25}, {IPP_FEATURE_SSE2, 26}};
constexpr FeatureBit kLeaf1Ecx[] = {
    {IPP_FEATURE_SSE3, 0},    {IPP_FEATURE_SSSE3, 9}, {IPP_FEATURE_MOVBE, 22}, {IPP_FEATURE_SSE41, 19},
    {IPP_FEATURE_SSE42, 20},  {IPP_FEATURE_AVX, 28},  {IPP_FEATURE_AES, 25},   {IPP_FEATURE_PCLMULQDQ, 1},
    {IPP_FEATURE_RDRAND, 30}, {IPP_FEATURE_F16C, 29},
};
constexpr FeatureBit kLeaf7Ebx[] = {
    {IPP_FEATURE_ADX, 19},      {IPP_FEATURE_RDSEED, 18},   {IPP_FEATURE_SHA, 29},
    {IPP_FEATURE_AVX512F, 16},  {IPP_FEATURE_AVX512CD, 28}, {IPP_FEATURE_AVX512ER, 27},
    {IPP_FEATURE_AVX512PF, 26}, {IPP_FEATURE_AVX512BW, 30}, {IPP_FEATURE_AVX512DQ, 17},
    {IPP_FEATURE_AVX512VL, 31}, {IPP_FEATURE_MPX, 14},
};
constexpr FeatureBit kLeaf7Ecx[] = {{IPP_FEATURE_AVX512VBMI, 1}};

template <std::size_t count>
std::uint64_t collect(const FeatureBit (&table)[count], std::uint32_t word) {
    std::uint64_t features = 0;
    for (const FeatureBit& entry : table) {
        if ((word & bit(entry.number)) != 0) {
            features |= entry.feature;
        }
    }
    return features;
}

std::uint64_t readXcr0(const ProcessorQueries& queries, std::uint32_t leaf1Ecx) {
    constexpr std::uint32_t osxsaveAndAvx = bit(27) | bit(28);
    return (leaf1Ecx & osxsaveAndAvx) == osxsaveAndAvx ? queries.xcr0() : 0;
}

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int32_t>::max();

// The cache leaves list one cache each: type in bits 0 to 4 of EAX, 1 data, 2 code, 3 both.
std::uint64_t largestListedCache(const ProcessorQueries& queries, std::uint32_t leaf) {
    constexpr std::uint32_t mostCaches = 16; // ends the list on a processor that never reports its end
    std::uint64_t largest = 0;
    for (std::uint32_t index = 0; index < mostCaches; ++index) {
        const CpuidRegisters cache = queries.cpuid(leaf, index);
        const std::uint32_t type = cache.eax & 0x1F;
        if (type == 0) {
            break;
        }
        if (type == 1 || type == 3) {
            const std::uint64_t ways = ((cache.ebx >> 22) & 0x3FF) + 1;
            const std::uint64_t partitions = ((cache.ebx >> 12) & 0x3FF) + 1;
            const std::uint64_t lineBytes = (cache.ebx & 0xFFF) + 1;
            const std::uint64_t sets = std::uint64_t{cache.ecx} + 1;
            largest = std::max(largest, std::min(ways * partitions * lineBytes, kMostBytes) * sets);
        }
    }
    return largest;
}

} // namespace

std::uint64_t gatherFeatures(const ProcessorQueries& queries) {
    const std::uint32_t maxLeaf = queries.cpuid(0, 0).eax;
    const CpuidRegisters leaf1 = queries.cpuid(1, 0);
    CpuidRegisters leaf7;
    if (maxLeaf >= 7) {
        leaf7 = queries.cpuid(7, 0);
    }

    std::uint64_t features = collect(kLeaf1Edx, leaf1.edx) | collect(kLeaf1Ecx, leaf1.ecx) |
                             collect(kLeaf7Ebx, leaf7.ebx) | collect(kLeaf7Ecx, leaf7.ecx);
    if ((readXcr0(queries, leaf1.ecx) & kXcr0Avx) == kXcr0Avx) {
        features |= IPP_FEATURE_AVX_SAVED;
    }
    if ((leaf1.eax & 0xF00) == 0xB00 && (queries.cpuid(0x20000001, 0).edx & bit(1)) != 0) {
        features |= IPP_FEATURE_COPROCESSOR;
    }
    constexpr std::uint32_t avx2AndBmi = bit(5) | bit(3) | bit(8);
    if ((leaf1.ecx & bit(12)) != 0 && (leaf7.ebx & avx2AndBmi) == avx2AndBmi) {
        features |= IPP_FEATURE_AVX2;
    }
    if (queries.cpuid(0x80000000, 0).eax >= 0x80000001 && (queries.cpuid(0x80000001, 0).ecx & bit(8)) != 0) {
        features |= IPP_FEATURE_PREFETCHW;
    }
    if ((leaf1.eax & 0xFF0) == 0xB10) {
        features |= IPP_FEATURE_COPROCESSOR_MODEL;
    }
    return features;
}

SavedStates gatherSavedStates(const ProcessorQueries& queries) {
    const std::uint64_t xcr0 = readXcr0(queries, queries.cpuid(1, 0).ecx);
    return {(xcr0 & kXcr0Avx) == kXcr0Avx, (xcr0 & kXcr0Avx512) == kXcr0Avx512};
}

bool isNativeVendor(const ProcessorQueries& queries) {
    const CpuidRegisters leaf0 = queries.cpuid(0, 0);
    return leaf0.ebx == 0x756E6547 && leaf0.edx == 0x49656E69 && leaf0.ecx == 0x6C65746E;
}

std::int32_t gatherMaxCacheSize(const ProcessorQueries& queries) {
    std::uint64_t size = 0;
    if (queries.cpuid(0, 0).eax >= 4) {
        size = largestListedCache(queries, 4);
    }
    // Processors that leave that leaf empty list their caches in this one, in the same form.
    constexpr std::uint32_t topologyExtensions = bit(22);
    if (size == 0 && queries.cpuid(0x80000000, 0).eax >= 0x8000001D &&
        (queries.cpuid(0x80000001, 0).ecx & topologyExtensions) != 0) {
        size = largestListedCache(queries, 0x8000001D);
    }
    return static_cast<std::int32_t>(std::min(size, kMostBytes));
}

} // namespace primitives
