#include "primitives/core/simd/Simd.h"
#include "primitives/filter/GaussianSpec.h"

#include "primitives/filter/GaussianRows.inl"

#include "primitives/filter/GaussianBytes.inl"
#include "primitives/filter/GaussianFloats.inl"

namespace primitives::DORN_LEVEL_NAMESPACE {

// The head of a record, which may lie at any address.
DORN_INLINE IppFilterGaussianSpec headOf(const IppFilterGaussianSpec* spec) {
    IppFilterGaussianSpec head;
    __builtin_memcpy(&head, static_cast<const void*>(spec), sizeof head);
    return head;
}

// The tests that come before those of the record's kernel.
DORN_INLINE IppStatus checkGaussian(const Ipp8u* src, int32_t srcStep, const Ipp8u* dst, int32_t dstStep,
                                    IppiSize roiSize, const IppFilterGaussianSpec* spec,
                                    const Ipp8u* buffer) {
    if (!src || !dst || !spec || !buffer) {
        return ippStsNullPtrErr;
    }
    if (srcStep < roiSize.width || dstStep < roiSize.width) {
        return ippStsStepErr;
    }
    if (roiSize.width < 1 || roiSize.height < 1) {
        return ippStsSizeErr;
    }
    return isGaussianBorder(headOf(spec).borderType) ? ippStsNoErr : ippStsBorderErr;
}

// False when the record names no kernel, or a divisor that a 32-bit shift has lost.
DORN_INLINE bool canFilter(const IppFilterGaussianSpec& head) {
    return isGaussianKernelSize(head.kernelSize) && head.scaleShift < 32;
}

template <int channels>
DORN_INLINE IppStatus filterGaussian(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                     IppiSize roiSize, const Ipp8u* borderValue,
                                     const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    const IppFilterGaussianSpec head = headOf(spec);
    if (head.kernelSize > kGaussianLargestKernel) {
        return ippStsExceededSizeErr;
    }
    GaussianJob job = {};
    job.src = src;
    job.srcStep = srcStep;
    job.dst = dst;
    job.dstStep = dstStep;
    job.width = roiSize.width;
    job.height = roiSize.height;
    job.channels = channels;
    job.rowBytes = job.width * channels;
    job.kernel = head.kernelSize;
    job.radius = job.kernel / 2;
    job.taps = reinterpret_cast<const int16_t*>(gaussianTapsAddress(spec));
    job.scaleShift = head.scaleShift;
    job.border = head.borderType;
    if (borderKind(job) == ippBorderConst) {
        __builtin_memcpy(job.borderValue, borderValue, channels);
    }
    job.buffer = buffer;
    if (suitsBytes(job)) {
        filterBytes<channels>(job);
    } else {
        filterFloats(job);
    }
    return ippStsNoErr;
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

template <>
IppStatus FilterGaussianBorderC1<kVariant>::run(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                int32_t dstStep, IppiSize roiSize, Ipp8u borderValue,
                                                const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    using namespace DORN_LEVEL_NAMESPACE;
    const IppStatus status = checkGaussian(src, srcStep, dst, dstStep, roiSize, spec, buffer);
    if (status != ippStsNoErr || !canFilter(headOf(spec))) {
        return status;
    }
    return filterGaussian<1>(src, srcStep, dst, dstStep, roiSize, &borderValue, spec, buffer);
}

template <>
IppStatus FilterGaussianBorderC3<kVariant>::run(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                int32_t dstStep, IppiSize roiSize, const Ipp8u* borderValue,
                                                const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    using namespace DORN_LEVEL_NAMESPACE;
    const IppStatus status = checkGaussian(src, srcStep, dst, dstStep, roiSize, spec, buffer);
    if (status != ippStsNoErr) {
        return status;
    }
    if (!borderValue && (headOf(spec).borderType & 15U) == ippBorderConst) {
        return ippStsNullPtrErr;
    }
    if (!canFilter(headOf(spec))) {
        return ippStsBadArgErr;
    }
    return filterGaussian<3>(src, srcStep, dst, dstStep, roiSize, borderValue, spec, buffer);
}

} // namespace primitives
