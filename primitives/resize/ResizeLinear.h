#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZELINEAR_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZELINEAR_H

/* Linear resize: each destination pixel is interpolated between the two nearest source pixels on each axis.
   Valid in C.

   The centre of destination pixel d lies at (d + 0.5) * source extent / destination extent - 0.5 in the
   source, on both axes. Variants 0 and 1 compute in single precision, variants 2 to 7 with weights of 14
   bits; the two differ in the last bit of some pixels. A plan holds the tables of the arithmetic that was in
   force when it was built, and a run follows its plan. */

#include "primitives/resize/ResizeSpec.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Builds a plan in the block `spec`, which has the size that ippiResizeGetSize_8u reports for ippLinear.
   Statuses, in the order of the tests: ippStsNullPtrErr, ippStsNoOperation (a side of 0), ippStsSizeErr (a
   side below 1, or a source side below 2). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLinearInit_8u(IppiSize srcSize, IppiSize dstSize,
                                                              IppiResizeSpec* spec);

/* Make the tile of `dstSize` pixels whose first pixel is `dstOffset` of the destination. `dst` points to the
   tile's first pixel. With rx = source width / destination width and ry alike, `src` points to the source
   pixel (floor(dstOffset.x * rx), floor(dstOffset.y * ry)): the image's first pixel for a tile at (0, 0).
   Steps are the distances between rows in bytes. A tile that reaches past the destination is clipped. A pixel
   comes out the same in every tile.

   `border` is ippBorderRepl, which repeats the edge pixels of the source, together with ippBorderInMemTop and
   its kind for sides of the image beyond which pixels exist in memory and are read; or ippBorderInMem alone.
   `borderValue` is not read. `buffer` has the size that ippiResizeGetBufferSize_8u reports for `dstSize`.

   Statuses, in the order of the tests: ippStsBorderErr, ippStsNullPtrErr (src, dst, spec or buffer),
   ippStsNoOperation (a side of 0), ippStsContextMatchErr (`spec` holds no plan), ippStsSizeErr (a side below
   1), ippStsOutOfRangeErr (`dstOffset` outside the destination), ippStsNotSupportedModeErr (an antialiasing
   plan), ippStsContextMatchErr (the plan of another method); ippStsSizeWrn when `dstSize` exceeds the
   destination. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLinear_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                              int32_t dstStep, IppiPoint dstOffset,
                                                              IppiSize dstSize, uint32_t border,
                                                              const Ipp8u* borderValue,
                                                              const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLinear_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                              int32_t dstStep, IppiPoint dstOffset,
                                                              IppiSize dstSize, uint32_t border,
                                                              const Ipp8u* borderValue,
                                                              const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLinear_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                              int32_t dstStep, IppiPoint dstOffset,
                                                              IppiSize dstSize, uint32_t border,
                                                              const Ipp8u* borderValue,
                                                              const IppiResizeSpec* spec, Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
