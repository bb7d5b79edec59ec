#include "primitives/core/Frame.h"

#include <cstring>
#include <optional>

#include "primitives/core/Detection.h"
#include "primitives/core/Dispatch.h"
#include "primitives/core/Processor.h"
#include "primitives/core/Selection.h"

namespace primitives {

constinit std::atomic<std::int32_t> ippVariantIndex{-1};

namespace {

constinit std::atomic<std::uint64_t> ippFeatureMask{kFloorFeatures};
constinit std::atomic<std::uint64_t> ippDetectedFeatures{0};
constinit std::atomic<std::int32_t> ippDetectedValid{0};

constexpr std::int32_t kCacheSizeUnread = -1;
constinit std::atomic<std::int32_t> maxCacheSize{kCacheSizeUnread};

void cacheDetected(std::uint64_t features) {
    ippDetectedFeatures.store(features, std::memory_order_relaxed);
    ippDetectedValid.store(1, std::memory_order_release);
}

// A processor without CPUID counts as one that has the floor.
std::uint64_t detectedFeatures() {
    if (ippDetectedValid.load(std::memory_order_acquire) == 0) {
        const std::optional<ProcessorQueries> queries = processorQueries();
        cacheDetected(queries ? gatherFeatures(*queries) : kFloorFeatures);
    }
    return ippDetectedFeatures.load(std::memory_order_relaxed);
}

} // namespace
} // namespace primitives

using namespace primitives;

IppStatus ippInit(void) {
    std::uint64_t features = 0;
    IppStatus status = ippGetCpuFeatures(&features, nullptr);
    if (status == ippStsNoErr) {
        status = ippSetCpuFeatures(features);
    } else {
        ippFeatureMask.store(kFloorFeatures, std::memory_order_relaxed);
        ippVariantIndex.store(0, std::memory_order_relaxed);
    }
    const std::optional<ProcessorQueries> queries = processorQueries();
    return queries && isNativeVendor(*queries) ? status : ippStsNonNativeCpu;
}

IppStatus ippSetCpuFeatures(uint64_t mask) {
    if ((mask & IPP_FEATURE_FORCE) != 0) {
        cacheDetected(ippFeatureMask.load(std::memory_order_relaxed));
    }
    const Selection selection = selectVariant(mask, detectedFeatures());
    ippFeatureMask.store(selection.features, std::memory_order_relaxed);
    ippVariantIndex.store(selection.index, std::memory_order_relaxed);
    return selection.status;
}

IppStatus ippGetCpuFeatures(uint64_t* mask, uint32_t* cpuidInfo) {
    if (!mask) {
        return ippStsNullPtrErr;
    }
    if (cpuidInfo && std::memcmp(mask, "getinfoa", sizeof *mask) == 0) {
        const std::optional<ProcessorQueries> queries = processorQueries();
        const CpuidRegisters leaf = queries ? queries->cpuid(cpuidInfo[0], cpuidInfo[2]) : CpuidRegisters{};
        cpuidInfo[0] = leaf.eax;
        cpuidInfo[1] = leaf.ebx;
        cpuidInfo[2] = leaf.ecx;
        cpuidInfo[3] = leaf.edx;
    }
    *mask = detectedFeatures();
    return ippStsNoErr;
}

uint64_t ippGetEnabledCpuFeatures(void) {
    return ippFeatureMask.load(std::memory_order_relaxed);
}

int ippTestFeatures(uint64_t mask) {
    return (mask & ~ippGetEnabledCpuFeatures()) == 0 ? 1 : 0;
}

IppStatus ippGetMaxCacheSizeB(int* size) {
    if (!size) {
        return ippStsNullPtrErr;
    }
    std::int32_t known = maxCacheSize.load(std::memory_order_relaxed);
    if (known == kCacheSizeUnread) {
        const std::optional<ProcessorQueries> queries = processorQueries();
        known = queries ? gatherMaxCacheSize(*queries) : 0;
        maxCacheSize.store(known, std::memory_order_relaxed);
    }
    *size = known;
    return known > 0 ? ippStsNoErr : ippStsUnknownCacheSize;
}
