#include "primitives/filter/FilterGaussian.h"

#include <cstring>

#include "primitives/core/Dispatch.h"
#include "primitives/core/Math.h"
#include "primitives/filter/GaussianSpec.h"

namespace primitives {
namespace {

// What the sizes and the record follow, by data type.
struct SampleFormat {
    std::int32_t dataType;
    std::uint32_t scaleShift;
    std::uint64_t sampleBytes;
    std::uint64_t rowElementBytes; // of an intermediate row, and of a tap
};

constexpr SampleFormat kFormats[] = {
    {ipp8u, 12, 1, 2}, {ipp16u, 15, 2, 2}, {ipp16s, 15, 2, 2}, {ipp32f, 0, 4, 4}};

const SampleFormat* formatOf(std::int32_t dataType) {
    for (const SampleFormat& format : kFormats) {
        if (format.dataType == dataType) {
            return &format;
        }
    }
    return nullptr;
}

// The tests that sizing and init have in common.
IppStatus check(const void* first, const void* second, IppiSize roiSize, std::uint32_t kernelSize,
                std::int32_t dataType, std::int32_t numChannels) {
    if (!first || !second) {
        return ippStsNullPtrErr;
    }
    if (roiSize.width < 1 || roiSize.height < 1) {
        return ippStsSizeErr;
    }
    if (!isGaussianKernelSize(kernelSize)) {
        return ippStsBadArgErr;
    }
    if (!formatOf(dataType)) {
        return ippStsDataTypeErr;
    }
    return numChannels == 1 || numChannels == 3 ? ippStsNoErr : ippStsChannelErr;
}

constexpr std::uint64_t roundDown(std::uint64_t value, std::uint64_t multiple) {
    return value / multiple * multiple;
}

// Bytes of the record.
std::uint64_t specBytes(std::uint64_t kernelSize, const SampleFormat& format) {
    const std::uint64_t head = format.dataType == ipp32f ? 32 : 36;
    return roundDown(kernelSize + 3, 4) * format.rowElementBytes + head;
}

// Bytes of the work buffer: a ring of intermediate rows, two padded rows, and room for taps and row pointers.
std::uint64_t bufferBytes(IppiSize size, std::uint64_t kernelSize, std::uint64_t channels,
                          const SampleFormat& format) {
    const auto width = static_cast<std::uint64_t>(size.width);
    const auto height = static_cast<std::uint64_t>(size.height);
    const std::uint64_t stride = roundDown((width + kernelSize) * channels + 7, 8);
    const std::uint64_t ringRows = std::uint64_t{kernelSize < height ? kernelSize : height} + kernelSize;
    const std::uint64_t ring = ringRows * stride;
    const std::uint64_t pixelRoom = 4 * kernelSize * channels * format.sampleBytes + 64;
    const std::uint64_t tapRoom = 2 * kernelSize * format.rowElementBytes + 64;
    return ring * format.rowElementBytes + 64 +
           (2 * stride * (kernelSize / 2) + 16) * format.rowElementBytes + 32 + pixelRoom + tapRoom + 64 +
           8 * (height + kernelSize);
}

IppStatus sizes(IppiSize maxRoiSize, std::uint32_t kernelSize, std::int32_t dataType,
                std::int32_t numChannels, std::int32_t* specSize, std::int32_t* bufferSize) {
    const IppStatus status = check(specSize, bufferSize, maxRoiSize, kernelSize, dataType, numChannels);
    if (status != ippStsNoErr) {
        return status;
    }
    // Within this limit the products fit 64 bits.
    if (kernelSize > kGaussianLargestKernel) {
        return ippStsExceededSizeErr;
    }
    const SampleFormat& format = *formatOf(dataType);
    const std::uint64_t spec = specBytes(kernelSize, format);
    const std::uint64_t buffer =
        bufferBytes(maxRoiSize, kernelSize, static_cast<std::uint64_t>(numChannels), format);
    if (spec >= INT32_MAX || buffer >= INT32_MAX) {
        return ippStsExceededSizeErr;
    }
    *specSize = static_cast<std::int32_t>(spec);
    *bufferSize = static_cast<std::int32_t>(buffer);
    return ippStsNoErr;
}

// exp(-t^2 / d) for the distance t of tap `i` from the middle. d may have vanished or overflowed: the weight
// is then not-a-number in the middle, or 1 everywhere.
float weight(std::uint32_t i, std::uint32_t kernelSize, float d) {
    const std::uint32_t middle = kernelSize / 2;
    const float t = static_cast<float>(i) - static_cast<float>(middle);
    return ippExp32f(-(t * t) / d);
}

// Truncates to a tap; not-a-number, which no integer stands for, gives 0.
std::int16_t fixedPoint(float share, float scale) {
    const double value = static_cast<double>(share * scale) + 0.5;
    return value > 0.0 ? static_cast<std::int16_t>(static_cast<std::int32_t>(value)) : std::int16_t{0};
}

IppStatus init(IppiSize roiSize, std::uint32_t kernelSize, float sigma, std::uint32_t borderType,
               std::int32_t dataType, std::int32_t numChannels, IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    const IppStatus status = check(spec, buffer, roiSize, kernelSize, dataType, numChannels);
    if (status != ippStsNoErr) {
        return status;
    }
    if (!(sigma > 0.0F)) {
        return ippStsBadArgErr;
    }
    if (!isGaussianBorder(borderType)) {
        return ippStsBorderErr;
    }
    if (kernelSize > kGaussianLargestKernel) {
        return ippStsExceededSizeErr;
    }
    const SampleFormat& format = *formatOf(dataType);
    const IppFilterGaussianSpec record = {
        kernelSize, kGaussianTapsOffset, static_cast<std::uint32_t>(dataType), borderType, format.scaleShift};
    std::memcpy(static_cast<void*>(spec), &record, sizeof record);

    const float d = sigma * (sigma + sigma);
    float sum = 0.0F;
    for (std::uint32_t i = 0; i < kernelSize; ++i) {
        const float w = weight(i, kernelSize, d);
        std::memcpy(buffer + i * sizeof w, &w, sizeof w);
        sum += w;
    }
    auto* taps = reinterpret_cast<std::uint8_t*>(gaussianTapsAddress(spec));
    const auto scale = static_cast<float>(1U << format.scaleShift);
    for (std::uint32_t i = 0; i < kernelSize; ++i) {
        float w = 0.0F;
        std::memcpy(&w, buffer + i * sizeof w, sizeof w);
        const float share = w / sum;
        if (dataType == ipp32f) {
            std::memcpy(taps + i * sizeof share, &share, sizeof share);
        } else {
            const std::int16_t tap = fixedPoint(share, scale);
            std::memcpy(taps + i * sizeof tap, &tap, sizeof tap);
        }
    }
    return ippStsNoErr;
}

// Neither gains from a variant.
template <int>
struct FilterGaussianGetBufferSize {
    static IppStatus run(IppiSize maxRoiSize, std::uint32_t kernelSize, std::int32_t dataType,
                         std::int32_t numChannels, std::int32_t* specSize, std::int32_t* bufferSize) {
        return sizes(maxRoiSize, kernelSize, dataType, numChannels, specSize, bufferSize);
    }
};

template <int>
struct FilterGaussianInit {
    static IppStatus run(IppiSize roiSize, std::uint32_t kernelSize, float sigma, std::uint32_t borderType,
                         std::int32_t dataType, std::int32_t numChannels, IppFilterGaussianSpec* spec,
                         Ipp8u* buffer) {
        return init(roiSize, kernelSize, sigma, borderType, dataType, numChannels, spec, buffer);
    }
};

} // namespace
} // namespace primitives

using namespace primitives;

IppStatus ippiFilterGaussianGetBufferSize(IppiSize maxRoiSize, uint32_t kernelSize, int32_t dataType,
                                          int32_t numChannels, int32_t* specSize, int32_t* bufferSize) {
    return dispatch<FilterGaussianGetBufferSize>(maxRoiSize, kernelSize, dataType, numChannels, specSize,
                                                 bufferSize);
}

IppStatus ippiFilterGaussianInit(IppiSize roiSize, uint32_t kernelSize, float sigma, uint32_t borderType,
                                 int32_t dataType, int32_t numChannels, IppFilterGaussianSpec* spec,
                                 Ipp8u* buffer) {
    return dispatch<FilterGaussianInit>(roiSize, kernelSize, sigma, borderType, dataType, numChannels, spec,
                                        buffer);
}

IppStatus ippiFilterGaussianBorder_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                          IppiSize roiSize, Ipp8u borderValue,
                                          const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    return dispatch<FilterGaussianBorderC1>(src, srcStep, dst, dstStep, roiSize, borderValue, spec, buffer);
}

IppStatus ippiFilterGaussianBorder_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                          IppiSize roiSize, const Ipp8u* borderValue,
                                          const IppFilterGaussianSpec* spec, Ipp8u* buffer) {
    return dispatch<FilterGaussianBorderC3>(src, srcStep, dst, dstStep, roiSize, borderValue, spec, buffer);
}
