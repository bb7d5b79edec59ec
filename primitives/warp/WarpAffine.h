#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPAFFINE_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPAFFINE_H

/* Affine warp of 8-bit images with bilinear samples. Valid in C.

   Steps: make the coefficients, ask for the size of a record, build the record for one source size and one
   destination size, ask for the size of a work buffer, and warp the whole destination or any tile of it. A
   record is only read while warping, so threads may share one if each has a buffer of its own. A record
   points into itself: it can't be copied or moved.

   Coefficients are six numbers a00 a01 a02 a10 a11 a12 and mean
       x' = a00 x + a01 y + a02,  y' = a10 x + a11 y + a12
   in pixels, where pixel (0, 0) has its centre at (0, 0). `direction` tells what they map: 0 source to
   destination, 1 destination to source.

   Border types: ippBorderRepl gives what lies outside the source the value of the nearest edge pixel,
   ippBorderConst a value of the caller's. Under ippBorderTransp, under ippBorderInMem and under every kind
   with flags for sides in memory only those destination pixels are written whose position lies within the
   centres of the source's edge pixels; nothing outside the source is read.

   Sides are in pixels, row steps in bytes. Every variant gives the same pixels. Functions that give an error
   or ippStsNoOperation write nothing. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* The record, in a block of the size that ippiWarpAffineGetSize reports; the block needs no alignment. */
typedef struct IppiWarpSpec IppiWarpSpec;

/* The translation that makes a rotation by `angle` degrees leave the point (xCenter, yCenter) in place. Exact
   at multiples of 90 degrees. Not-a-number and infinite arguments give not-a-number or infinite shifts.
   ippStsNullPtrErr for a null output. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiGetRotateShift(double xCenter, double yCenter, double angle,
                                                         double* xShift, double* yShift);

/* The six coefficients, source to destination, of a rotation by `angle` degrees about (0, 0) followed by a
   shift: a point (1, 0) goes to (cos, -sin). Exact at multiples of 90 degrees. In this order:
   ippStsOutOfRangeErr for an angle that isn't finite, ippStsNullPtrErr. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiGetRotateTransform(double angle, double xShift, double yShift,
                                                             double* coeffs);

/* The sizes in bytes of the record and of scratch memory for building it, which is not needed by the linear
   method. `dataType` is ipp8u, ipp16u, ipp16s, ipp32f or ipp64f (warps exist for ipp8u); `interpolation` is
   ippNearest, ippLinear or ippCubic (records exist for ippLinear).

   In this order: ippStsBorderErr, ippStsNullPtrErr, ippStsSizeErr (a side below 1), ippStsDataTypeErr,
   ippStsInterpolationErr, ippStsWrongDirectionErr, ippStsCoeffErr (singular coefficients), ippStsSizeErr (a
   source side of 1, or more source rows than the data type allows), ippStsCoeffErr (the source's corners
   don't make a convex figure), ippStsSizeErr (a record of 0x7FFFFFFF bytes or more). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiWarpAffineGetSize(IppiSize srcSize, IppiSize dstSize,
                                                            int32_t dataType, const double* coeffs,
                                                            int32_t interpolation, int32_t direction,
                                                            uint32_t borderType, int32_t* specSize,
                                                            int32_t* initBufSize);

/* Builds the record for 1, 3 or 4 channels (warps exist for 1 and 3). `borderValue`, one number a channel,
   is only read under ippBorderConst; it is rounded and clamped to a pixel. `smoothEdge` asks to smooth the
   edges of the source's figure: it is refused under ippBorderRepl and ippBorderConst, elsewhere kept in the
   record without effect.

   In this order: ippStsBorderErr, ippStsNullPtrErr, ippStsSizeErr (a side below 1), ippStsDataTypeErr,
   ippStsWrongDirectionErr, ippStsCoeffErr (singular), ippStsNullPtrErr (no border value),
   ippStsNumChannelsErr, ippStsNotSupportedModeErr (smooth edge), ippStsSizeErr (a source side of 1),
   ippStsCoeffErr (not convex). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiWarpAffineLinearInit(IppiSize srcSize, IppiSize dstSize,
                                                               int32_t dataType, const double* coeffs,
                                                               int32_t direction, uint32_t numChannels,
                                                               uint32_t borderType, const double* borderValue,
                                                               int32_t smoothEdge, IppiWarpSpec* spec);

/* The size in bytes of the work buffer for tiles up to `dstSize`.

   In this order: ippStsNullPtrErr, ippStsSizeErr (a negative side), ippStsNoOperation (a side of 0),
   ippStsContextMatchErr (not a record of this family), ippStsExceededSizeErr; ippStsSizeWrn, with the size
   stored, when `dstSize` exceeds the record's destination. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiWarpGetBufferSize(const IppiWarpSpec* spec, IppiSize dstSize,
                                                            int32_t* bufferSize);

/* Makes the tile of `dstSize` pixels whose first pixel is `dstOffset` of the record's destination. `src`
   points to the first pixel of the whole source, `dst` to the first pixel of the tile; they don't overlap.

   In this order: ippStsNullPtrErr, ippStsNoOperation (a side of 0, the other not negative),
   ippStsContextMatchErr (a record of another type or channel count), ippStsSizeErr (a negative side),
   ippStsOutOfRangeErr (the tile begins outside the destination), ippStsNoPixelsWrn (nothing to write, and
   nothing written), ippStsBorderErr; ippStsSizeWrn when the tile reaches beyond the destination and was
   clipped. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiWarpAffineLinear_8u_C1R(const Ipp8u* src, int32_t srcStep,
                                                                  Ipp8u* dst, int32_t dstStep,
                                                                  IppiPoint dstOffset, IppiSize dstSize,
                                                                  const IppiWarpSpec* spec, Ipp8u* buffer);

/* The same for three interleaved channels. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiWarpAffineLinear_8u_C3R(const Ipp8u* src, int32_t srcStep,
                                                                  Ipp8u* dst, int32_t dstStep,
                                                                  IppiPoint dstOffset, IppiSize dstSize,
                                                                  const IppiWarpSpec* spec, Ipp8u* buffer);

#if defined(__cplusplus)
}

/* The same for coefficients in two rows of three. */
IPP_NODISCARD inline IppStatus ippiGetRotateTransform(double angle, double xShift, double yShift,
                                                      double (&coeffs)[2][3]) {
    return ippiGetRotateTransform(angle, xShift, yShift, &coeffs[0][0]);
}

/* The same for coefficients in two rows of three. */
IPP_NODISCARD inline IppStatus ippiWarpAffineGetSize(IppiSize srcSize, IppiSize dstSize, int32_t dataType,
                                                     const double (&coeffs)[2][3], int32_t interpolation,
                                                     int32_t direction, uint32_t borderType,
                                                     int32_t* specSize, int32_t* initBufSize) {
    return ippiWarpAffineGetSize(srcSize, dstSize, dataType, &coeffs[0][0], interpolation, direction,
                                 borderType, specSize, initBufSize);
}

/* The same for coefficients in two rows of three. */
IPP_NODISCARD inline IppStatus ippiWarpAffineLinearInit(IppiSize srcSize, IppiSize dstSize, int32_t dataType,
                                                        const double (&coeffs)[2][3], int32_t direction,
                                                        uint32_t numChannels, uint32_t borderType,
                                                        const double* borderValue, int32_t smoothEdge,
                                                        IppiWarpSpec* spec) {
    return ippiWarpAffineLinearInit(srcSize, dstSize, dataType, &coeffs[0][0], direction, numChannels,
                                    borderType, borderValue, smoothEdge, spec);
}
#endif

#endif
