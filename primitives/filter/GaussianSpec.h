#ifndef DORNIMAGE_PRIMITIVES_FILTER_GAUSSIANSPEC_H
#define DORNIMAGE_PRIMITIVES_FILTER_GAUSSIANSPEC_H

// What the record of the Gaussian filter holds. Included by level sources: no inline functions with external
// names.

#include "primitives/filter/FilterGaussian.h"

// The taps, kernelSize of them, begin at the first 16-byte boundary at or after byte tapsOffset of the
// record: signed 16-bit numbers in units of 1 / 2^scaleShift, or floats when the data type is ipp32f.
struct IppFilterGaussianSpec {
    uint32_t kernelSize;
    int32_t tapsOffset;
    uint32_t dataType;
    uint32_t borderType;
    uint32_t scaleShift;
};

namespace primitives {

constexpr int32_t kGaussianTapsOffset = 20;
constexpr uintptr_t kGaussianTapsAlignment = 16;
static_assert(sizeof(IppFilterGaussianSpec) == kGaussianTapsOffset);

// For no larger kernel is there a buffer, even for an image of one pixel: its size grows with the square.
constexpr uint32_t kGaussianLargestKernel = 0x7FFF;

// The address of the taps in a record.
static inline uintptr_t gaussianTapsAddress(const IppFilterGaussianSpec* spec) {
    const uintptr_t behind = reinterpret_cast<uintptr_t>(spec) + static_cast<uintptr_t>(kGaussianTapsOffset);
    return (behind + kGaussianTapsAlignment - 1) / kGaussianTapsAlignment * kGaussianTapsAlignment;
}

static inline bool isGaussianKernelSize(uint32_t kernelSize) {
    return kernelSize >= 3 && kernelSize % 2 != 0;
}

static inline bool isGaussianBorder(uint32_t border) {
    const uint32_t kind = border & 15U;
    return border == ippBorderInMem ||
           (border <= 255 && (kind == ippBorderRepl || kind == ippBorderMirror || kind == ippBorderConst));
}

// The filters, one function a variant.
template <int variant>
struct FilterGaussianBorderC1 {
    static IppStatus run(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep, IppiSize roiSize,
                         Ipp8u borderValue, const IppFilterGaussianSpec* spec, Ipp8u* buffer);
};

template <int variant>
struct FilterGaussianBorderC3 {
    static IppStatus run(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep, IppiSize roiSize,
                         const Ipp8u* borderValue, const IppFilterGaussianSpec* spec, Ipp8u* buffer);
};

} // namespace primitives

#endif
