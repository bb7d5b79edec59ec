#include "primitives/resize/ResizeSizing.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "primitives/core/Dispatch.h"
#include "primitives/resize/ResizePlan.h"

namespace primitives {

namespace {

constexpr std::int64_t kTablePadding = 32; // elements to a multiple of which tables are counted
constexpr std::int64_t kAlignmentSlack = 64;
constexpr std::int64_t kHeadSize = 232 + kAlignmentSlack;
constexpr std::int64_t kBlockSize = 128; // of a coefficient table

struct PlanSizes {
    std::int64_t spec;
    std::int64_t initBuffer;
};

bool isBelow(IppiSize size, std::int32_t limit) {
    return size.width < limit || size.height < limit;
}

bool isZero(IppiSize size) {
    return size.width == 0 || size.height == 0;
}

bool isSourceTooSmall(IppiSize src, IppiSize dst, std::int32_t interpolation) {
    switch (interpolation) {
    case ippLinear:
        return isBelow(src, 2);
    case ippCubic:
    case ippLanczos:
        return isBelow(src, 4);
    case ippSuper:
        return src.width < dst.width || src.height < dst.height;
    default:
        return false;
    }
}

// The length of a table with `perPosition` coefficients for each destination position, in bytes.
std::int64_t coefficientBytes(std::int64_t dst, std::int64_t perPosition) {
    return (dst * perPosition + perPosition * 32 - 1) / 32 * kBlockSize;
}

std::int64_t superTableLength(std::int32_t src, std::int32_t dst) {
    const std::int64_t divisor = std::gcd(src, dst);
    return dst / divisor * superEntries(src / divisor, dst / divisor);
}

PlanSizes planSizes(IppiSize src, IppiSize dst, std::int32_t interpolation) {
    const std::int64_t padded = roundUp(dst.width, kTablePadding) + roundUp(dst.height, kTablePadding);
    if (interpolation == ippNearest) {
        return {padded * 4 + kHeadSize, kAlignmentSlack};
    }
    if (interpolation == ippLinear) {
        return {padded * 8 + kHeadSize, kAlignmentSlack};
    }
    if (interpolation == ippSuper) {
        const std::int64_t lengthX = superTableLength(src.width, dst.width);
        const std::int64_t lengthY = superTableLength(src.height, dst.height);
        const std::int64_t elements =
            roundUp(lengthX, kTablePadding) + lengthX + lengthY + roundUp(lengthY, kTablePadding);
        return {elements * 4 + kHeadSize, kAlignmentSlack};
    }
    const std::int64_t perPosition = interpolation == ippCubic ? 4 : 6;
    const std::int64_t coefficients =
        coefficientBytes(dst.width, perPosition) + coefficientBytes(dst.height, perPosition);
    return {padded * 4 + kHeadSize + coefficients, padded * 4 + kAlignmentSlack};
}

// Taps per position when the kernel is widened for a reduction.
std::int64_t antialiasedTaps(std::int32_t src, std::int32_t dst, std::int64_t taps) {
    const double ratio = static_cast<double>(src) / dst;
    return ratio > 1.0 ? 2 * static_cast<std::int64_t>(std::ceil(static_cast<double>(taps) * ratio)) : taps;
}

PlanSizes antialiasedPlanSizes(IppiSize src, IppiSize dst, std::int32_t interpolation) {
    const std::int64_t taps = interpolation == ippLinear ? 2 : interpolation == ippCubic ? 4 : 6;
    const std::int64_t padded = roundUp(dst.width, kTablePadding) + roundUp(dst.height, kTablePadding);
    const std::int64_t tableX = std::int64_t{dst.width} * 4 * antialiasedTaps(src.width, dst.width, taps);
    const std::int64_t tableY = std::int64_t{dst.height} * 4 * antialiasedTaps(src.height, dst.height, taps);
    return {roundUp(tableX, kTablePadding) + roundUp(tableY, kTablePadding) + padded * 4 + kHeadSize,
            padded * 8 + kAlignmentSlack};
}

// The product of two numbers of at least 0, or kResizeSizeLimit if that is less.
std::int64_t limitedProduct(std::int64_t a, std::int64_t b) {
    return b != 0 && a > kResizeSizeLimit / b ? kResizeSizeLimit : a * b;
}

std::int64_t superBufferSize(const IppiResizeSpec& plan, std::int64_t tileW, std::int64_t tileH,
                             std::int64_t channels) {
    const IppiResizeAxis& x = plan.axisX;
    const float columns =
        static_cast<float>(x.srcReduced) * static_cast<float>(tileW) / static_cast<float>(x.dstReduced);
    const std::int64_t capped = std::min(static_cast<std::int64_t>(columns + 3.0), std::int64_t{x.srcSize});
    const std::int64_t rowBytes = channels * 4 * roundUp(capped, kTablePadding) + 8;
    return 32 + limitedProduct(rowBytes, std::min(std::int64_t{plan.axisY.dstReduced}, tileH));
}

template <int>
struct ResizeGetSize {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, std::int32_t interpolation,
                         std::uint32_t antialiasing, std::int32_t* specSize, std::int32_t* initBufSize) {
        if (!specSize || !initBufSize) {
            return ippStsNullPtrErr;
        }
        if (const IppStatus status = checkResizeSizes(srcSize, dstSize); status != ippStsNoErr) {
            return status;
        }
        switch (interpolation) {
        case 0:
            return ippStsNotSupportedModeErr;
        case ippNearest:
        case ippLinear:
        case ippCubic:
        case ippSuper:
        case ippLanczos:
            break;
        default:
            return ippStsInterpolationErr;
        }
        if (isSourceTooSmall(srcSize, dstSize, interpolation)) {
            return ippStsSizeErr;
        }
        const bool isWithout = interpolation == ippNearest || interpolation == ippSuper;
        const PlanSizes sizes = antialiasing == 0 || isWithout
                                    ? planSizes(srcSize, dstSize, interpolation)
                                    : antialiasedPlanSizes(srcSize, dstSize, interpolation);
        if (sizes.spec >= kResizeSizeLimit || sizes.initBuffer >= kResizeSizeLimit) {
            return ippStsExceededSizeErr;
        }
        *specSize = static_cast<std::int32_t>(sizes.spec);
        *initBufSize = static_cast<std::int32_t>(sizes.initBuffer);
        return antialiasing != 0 && isWithout ? ippStsNoAntialiasing : ippStsNoErr;
    }
};

template <int>
struct ResizeGetBufferSize {
    static IppStatus run(const IppiResizeSpec* spec, IppiSize dstSize, std::uint32_t numChannels,
                         std::int32_t* bufferSize) {
        if (!spec || !bufferSize) {
            return ippStsNullPtrErr;
        }
        if (isZero(dstSize)) {
            return ippStsNoOperation;
        }
        const IppiResizeSpec& plan = *resizePlan(spec);
        if (plan.magic != IPP_RESIZE_MAGIC) {
            return ippStsContextMatchErr;
        }
        if (numChannels != 1 && numChannels != 3 && numChannels != 4) {
            return ippStsNumChannelsErr;
        }
        if (isBelow(dstSize, 1)) {
            return ippStsSizeErr;
        }
        if (plan.interpolation == 0) {
            return ippStsNotSupportedModeErr;
        }
        const std::int64_t size = resizeBufferSize(plan, dstSize, numChannels);
        if (size >= kResizeSizeLimit) {
            return ippStsExceededSizeErr;
        }
        *bufferSize = static_cast<std::int32_t>(size);
        return exceedsDestination(plan, dstSize) ? ippStsSizeWrn : ippStsNoErr;
    }
};

} // namespace

IppStatus checkResizeSizes(IppiSize srcSize, IppiSize dstSize) {
    if (isZero(srcSize) || isZero(dstSize)) {
        return ippStsNoOperation;
    }
    return isBelow(srcSize, 1) || isBelow(dstSize, 1) ? ippStsSizeErr : ippStsNoErr;
}

std::int64_t resizeBufferSize(const IppiResizeSpec& plan, IppiSize tile, std::int64_t channels) {
    const std::int64_t tileW = std::min(std::int64_t{tile.width}, std::int64_t{plan.axisX.dstSize});
    const std::int64_t tileH = std::min(std::int64_t{tile.height}, std::int64_t{plan.axisY.dstSize});
    const std::int64_t indices =
        roundUp(tileH * 4, kResizeRowAlignment) + roundUp(tileW * 4, kResizeRowAlignment);
    std::int64_t rows = 0;
    if (plan.interpolation == ippSuper) {
        rows = superBufferSize(plan, tileW, tileH, channels);
    } else if (plan.interpolation != ippNearest) {
        rows =
            limitedProduct(std::int64_t{plan.tapsY} * 2, roundUp(channels * 4 * tileW, kResizeRowAlignment));
    }
    return indices + rows + kAlignmentSlack;
}

} // namespace primitives

using namespace primitives;

IppStatus ippiResizeGetSize_8u(IppiSize srcSize, IppiSize dstSize, int32_t interpolation,
                               uint32_t antialiasing, int32_t* specSize, int32_t* initBufSize) {
    return dispatch<ResizeGetSize>(srcSize, dstSize, interpolation, antialiasing, specSize, initBufSize);
}

IppStatus ippiResizeGetBufferSize_8u(const IppiResizeSpec* spec, IppiSize dstSize, uint32_t numChannels,
                                     int32_t* bufferSize) {
    return dispatch<ResizeGetBufferSize>(spec, dstSize, numChannels, bufferSize);
}
