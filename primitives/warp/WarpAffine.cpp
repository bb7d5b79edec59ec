#include "primitives/warp/WarpAffine.h"

#include <algorithm>

#include "primitives/core/Dispatch.h"
#include "primitives/warp/WarpGeometry.h"
#include "primitives/warp/WarpRun.h"

namespace primitives {
namespace {

// The work buffer and the scratch memory of init. Neither is needed for bytes.
constexpr std::int32_t kBufferBytes = 64;

bool isDataType(std::int32_t dataType) {
    return dataType == ipp8u || dataType == ipp16u || dataType == ipp16s || dataType == ipp32f ||
           dataType == ipp64f;
}

bool isBelowOne(IppiSize size) {
    return size.width < 1 || size.height < 1;
}

bool hasSideOfOne(IppiSize size) {
    return size.width == 1 || size.height == 1;
}

// More rows than the data type allows. The limits differ, and that of ipp64f is met a second time.
bool hasTooManyRows(std::int32_t rows, std::int32_t dataType) {
    const bool isInteger = dataType == ipp8u || dataType == ipp16u || dataType == ipp16s;
    return (isInteger && rows >= 0x40000000) || (isInteger && dataType != ipp8u && rows >= 0x20000000) ||
           (!isInteger && rows >= 0x10000000) || (dataType == ipp64f && rows >= 0x8000000);
}

WarpMatrix matrixOf(const double* coeffs) {
    WarpMatrix matrix;
    std::copy_n(coeffs, matrix.size(), matrix.begin());
    return matrix;
}

// What sizing and init derive from the arguments.
struct WarpLayout {
    WarpMatrix coeffs;
    WarpMatrix inverse;
    bool isBackward; // `coeffs` lead from the destination to the source
    IppiSize srcSize;
    IppiSize dstSize;

    const WarpMatrix& forward() const { return isBackward ? inverse : coeffs; }
    const WarpMatrix& backward() const { return isBackward ? coeffs : inverse; }

    // The corners of the source, or of it widened on all sides, in the destination.
    WarpQuad corners(double widening = 0.0) const {
        return mapRectangle(forward(), {0.0 - widening, 0.0 - widening},
                            {srcSize.width - 1.0 + widening, srcSize.height - 1.0 + widening});
    }
    WarpFigure figure() const { return {corners(), dstSize}; }
    // The source widened by one pixel on each side, which a constant border mixes with it.
    WarpFigure outerFigure() const { return {corners(1.0), dstSize}; }
};

WarpLayout makeLayout(const double* coeffs, std::int32_t direction, IppiSize srcSize, IppiSize dstSize) {
    const WarpMatrix matrix = matrixOf(coeffs);
    return {matrix, inverseOf(matrix), direction == kWarpBackward, srcSize, dstSize};
}

bool hasOuterTable(std::uint32_t border) {
    return (border & 15U) == ippBorderConst;
}

template <int>
struct WarpAffineGetSize {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, std::int32_t dataType, const double* coeffs,
                         std::int32_t interpolation, std::int32_t direction, std::uint32_t borderType,
                         std::int32_t* specSize, std::int32_t* initBufSize) {
        if (!isWarpBorder(borderType)) {
            return ippStsBorderErr;
        }
        if (!specSize || !initBufSize || !coeffs) {
            return ippStsNullPtrErr;
        }
        if (isBelowOne(srcSize) || isBelowOne(dstSize)) {
            return ippStsSizeErr;
        }
        if (!isDataType(dataType)) {
            return ippStsDataTypeErr;
        }
        if (interpolation != ippNearest && interpolation != ippLinear && interpolation != ippCubic) {
            return ippStsInterpolationErr;
        }
        if (direction != kWarpForward && direction != kWarpBackward) {
            return ippStsWrongDirectionErr;
        }
        const WarpLayout layout = makeLayout(coeffs, direction, srcSize, dstSize);
        if (isSingular(layout.coeffs)) {
            return ippStsCoeffErr;
        }
        if (hasSideOfOne(srcSize) || hasTooManyRows(srcSize.height, dataType)) {
            return ippStsSizeErr;
        }
        std::uint64_t size = kWarpHeadBytes;
        if (!isPureShift(layout.coeffs)) {
            if ((interpolation != ippCubic || borderType == ippBorderInMem) && !isConvex(layout.corners())) {
                return ippStsCoeffErr;
            }
            size += 16 + sizeof(WarpColumns) * layout.figure().rows();
            if (hasOuterTable(borderType)) {
                size += 24 + sizeof(WarpColumns) * layout.outerFigure().rows();
            }
            if (size >= INT32_MAX) {
                return ippStsSizeErr;
            }
        }
        *specSize = static_cast<std::int32_t>(size);
        *initBufSize = kBufferBytes;
        return ippStsNoErr;
    }
};

// A border for which a destination without any part of the source is nothing special.
bool reachesEverywhere(std::uint32_t border) {
    return warpBorderKind(border) == ippBorderRepl || warpBorderKind(border) == ippBorderConst;
}

// True when the shifted source and the destination have no pixel in common.
bool missesDestination(const WarpShift& shift, const WarpLayout& layout) {
    return shift.x >= layout.dstSize.width || shift.x <= -std::int64_t{layout.srcSize.width} ||
           shift.y >= layout.dstSize.height || shift.y <= -std::int64_t{layout.srcSize.height};
}

// The record's fields for a shift by whole pixels.
void placeShift(IppiWarpSpec& record, const WarpLayout& layout) {
    const WarpMatrix& forward = layout.forward();
    auto* const shift =
        reinterpret_cast<WarpShift*>(reinterpret_cast<std::uint8_t*>(&record) + kWarpShiftOffset);
    *shift = wholeShift(forward[2], forward[5]);
    record.shiftRecord = shift;
    if (missesDestination(*shift, layout) && warpBorderKind(record.borderType) == ippBorderTransp) {
        record.noPixelsStatus = ippStsNoPixelsWrn;
    }
}

// The record's tables.
void placeSpans(IppiWarpSpec& record, const WarpLayout& layout) {
    auto* const tables = reinterpret_cast<std::uint8_t*>(&record) + kWarpTablesOffset;
    const WarpFigure figure = layout.figure();
    record.firstSpanRow = figure.firstRow();
    record.lastSpanRow = figure.lastRow();
    record.spanTable = reinterpret_cast<WarpColumns*>(tables);
    figure.fillTable(record.spanTable);
    if (hasOuterTable(record.borderType)) {
        const WarpFigure outer = layout.outerFigure();
        record.firstSpanRow2 = outer.firstRow();
        record.lastSpanRow2 = outer.lastRow();
        record.spanTable2 = record.spanTable + figure.rows();
        outer.fillTable(record.spanTable2);
    }
    if (figure.rows() == 0 && !reachesEverywhere(record.borderType)) {
        record.noPixelsStatus = ippStsNoPixelsWrn;
    }
}

WarpEdgeQuad edgeQuadOf(const WarpQuad& quad) {
    WarpEdgeQuad result{};
    for (std::size_t i = 0; i < quad.size(); ++i) {
        result.corners[2 * i] = quad[i].x;
        result.corners[2 * i + 1] = quad[i].y;
    }
    bool isClockwise = false;
    (void)isConvex(quad, &isClockwise);
    result.isClockwise = isClockwise ? 1 : 0;
    return result;
}

template <int>
struct WarpAffineLinearInit {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, std::int32_t dataType, const double* coeffs,
                         std::int32_t direction, std::uint32_t numChannels, std::uint32_t borderType,
                         const double* borderValue, std::int32_t smoothEdge, IppiWarpSpec* spec) {
        if (!isWarpBorder(borderType)) {
            return ippStsBorderErr;
        }
        if (!spec || !coeffs) {
            return ippStsNullPtrErr;
        }
        if (isBelowOne(srcSize) || isBelowOne(dstSize)) {
            return ippStsSizeErr;
        }
        if (!isDataType(dataType)) {
            return ippStsDataTypeErr;
        }
        if (direction != kWarpForward && direction != kWarpBackward) {
            return ippStsWrongDirectionErr;
        }
        const WarpLayout layout = makeLayout(coeffs, direction, srcSize, dstSize);
        if (isSingular(layout.coeffs)) {
            return ippStsCoeffErr;
        }
        const std::uint32_t kind = borderType & 15U;
        if (kind == ippBorderConst && !borderValue) {
            return ippStsNullPtrErr;
        }
        if (numChannels != 1 && numChannels != 3 && numChannels != 4) {
            return ippStsNumChannelsErr;
        }
        if (smoothEdge != 0 && (kind == ippBorderRepl || kind == ippBorderConst)) {
            return ippStsNotSupportedModeErr;
        }
        if (hasSideOfOne(srcSize)) {
            return ippStsSizeErr;
        }
        const bool isShift = isPureShift(layout.coeffs);
        if (!isShift && !isConvex(layout.corners())) {
            return ippStsCoeffErr;
        }

        IppiWarpSpec& record = *warpRecord(spec);
        record = {};
        record.srcWidth = record.srcWidth2 = srcSize.width;
        record.srcHeight = record.srcHeight2 = srcSize.height;
        record.dstWidth = dstSize.width;
        record.dstHeight = dstSize.height;
        record.direction = direction;
        record.mode = kWarpAffineMode;
        record.dataType = dataType;
        record.interpolation = ippLinear;
        std::copy_n(layout.backward().begin(), layout.backward().size(), record.backward);
        record.firstSpanRow = record.firstSpanRow2 = -1;
        record.lastSpanRow = record.lastSpanRow2 = -2;
        record.smoothEdge = smoothEdge;
        record.borderType = borderType;
        record.numChannels = numChannels;
        if (kind == ippBorderConst) {
            std::copy_n(borderValue, numChannels, record.borderValue);
        }
        if (smoothEdge != 0) {
            record.edgeQuad = edgeQuadOf(layout.corners());
        }
        if (isShift) {
            placeShift(record, layout);
        } else {
            placeSpans(record, layout);
        }
        return ippStsNoErr;
    }
};

template <int>
struct WarpGetBufferSize {
    static IppStatus run(const IppiWarpSpec* spec, IppiSize dstSize, std::int32_t* bufferSize) {
        if (!spec || !bufferSize) {
            return ippStsNullPtrErr;
        }
        if (dstSize.width < 0 || dstSize.height < 0) {
            return ippStsSizeErr;
        }
        if (dstSize.width == 0 || dstSize.height == 0) {
            return ippStsNoOperation;
        }
        const IppiWarpSpec& record = *warpRecord(spec);
        std::int64_t size = kBufferBytes;
        if (record.mode == kWarpOtherMode) {
            const std::int64_t width = std::min(record.dstWidth, dstSize.width);
            size += (width * 128 + 496) & ~std::int64_t{511};
        } else if (record.mode != kWarpAffineMode) {
            return ippStsContextMatchErr;
        }
        if (size >= INT32_MAX) {
            return ippStsExceededSizeErr;
        }
        *bufferSize = static_cast<std::int32_t>(size);
        const bool isWithin = dstSize.width <= record.dstWidth && dstSize.height <= record.dstHeight;
        return isWithin ? ippStsNoErr : ippStsSizeWrn;
    }
};

template <std::uint32_t channels>
struct WarpAffineLinear {
    template <int variant>
    struct Entry {
        static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                             IppiPoint dstOffset, IppiSize dstSize, const IppiWarpSpec* spec,
                             const Ipp8u* buffer) {
            if (!src || !dst || !spec || !buffer) {
                return ippStsNullPtrErr;
            }
            if (std::min(dstSize.width, dstSize.height) == 0) {
                return ippStsNoOperation;
            }
            const IppiWarpSpec& record = *warpRecord(spec);
            if (record.dataType != ipp8u || record.interpolation != ippLinear ||
                record.mode != kWarpAffineMode || record.numChannels != channels) {
                return ippStsContextMatchErr;
            }
            if (isBelowOne(dstSize)) {
                return ippStsSizeErr;
            }
            if (dstOffset.x < 0 || dstOffset.y < 0 || dstOffset.x >= record.dstWidth ||
                dstOffset.y >= record.dstHeight) {
                return ippStsOutOfRangeErr;
            }
            if (record.noPixelsStatus != ippStsNoErr) {
                return record.noPixelsStatus;
            }
            if (!isWarpBorder(record.borderType)) {
                return ippStsBorderErr;
            }
            const IppiSize size = {std::min(dstSize.width, record.dstWidth - dstOffset.x),
                                   std::min(dstSize.height, record.dstHeight - dstOffset.y)};
            const WarpTile tile = {{src, srcStep, record.srcWidth, record.srcHeight},
                                   channels,
                                   dst,
                                   dstStep,
                                   dstOffset,
                                   size,
                                   &record};
            using Kernels = WarpKernels<variant>;
            const WarpFunctions functions = {warpBlockRows(variant),
                                             channels == 1 ? &Kernels::sampleC1 : &Kernels::sampleC3,
                                             &Kernels::prefetch, &Kernels::copy};
            (record.shiftRecord ? shiftWarpTile : sampleWarpTile)(tile, functions);
            const bool isWhole = size.width == dstSize.width && size.height == dstSize.height;
            return isWhole ? ippStsNoErr : ippStsSizeWrn;
        }
    };
};

} // namespace
} // namespace primitives

using namespace primitives;

IppStatus ippiWarpAffineGetSize(IppiSize srcSize, IppiSize dstSize, int32_t dataType, const double* coeffs,
                                int32_t interpolation, int32_t direction, uint32_t borderType,
                                int32_t* specSize, int32_t* initBufSize) {
    return dispatch<WarpAffineGetSize>(srcSize, dstSize, dataType, coeffs, interpolation, direction,
                                       borderType, specSize, initBufSize);
}

IppStatus ippiWarpAffineLinearInit(IppiSize srcSize, IppiSize dstSize, int32_t dataType, const double* coeffs,
                                   int32_t direction, uint32_t numChannels, uint32_t borderType,
                                   const double* borderValue, int32_t smoothEdge, IppiWarpSpec* spec) {
    return dispatch<WarpAffineLinearInit>(srcSize, dstSize, dataType, coeffs, direction, numChannels,
                                          borderType, borderValue, smoothEdge, spec);
}

IppStatus ippiWarpGetBufferSize(const IppiWarpSpec* spec, IppiSize dstSize, int32_t* bufferSize) {
    return dispatch<WarpGetBufferSize>(spec, dstSize, bufferSize);
}

IppStatus ippiWarpAffineLinear_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                      IppiPoint dstOffset, IppiSize dstSize, const IppiWarpSpec* spec,
                                      Ipp8u* buffer) {
    return dispatch<WarpAffineLinear<1>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, spec,
                                                static_cast<const Ipp8u*>(buffer));
}

IppStatus ippiWarpAffineLinear_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                      IppiPoint dstOffset, IppiSize dstSize, const IppiWarpSpec* spec,
                                      Ipp8u* buffer) {
    return dispatch<WarpAffineLinear<3>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, spec,
                                                static_cast<const Ipp8u*>(buffer));
}
