#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZESUPER_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZESUPER_H

/* Super-sampling resize: each destination pixel is the mean of the source rectangle that it covers, in which
   pixels on its edges count by the part that is covered. For reductions only. Valid in C.

   Where source and destination extent of an axis have the reduced fraction sr / dr, what the pixels weigh
   repeats every dr destination and sr source pixels, and a plan holds the weights of one such period. All
   variants compute in single precision; variants 5 to 7 fuse multiplication and addition, so that some pixels
   differ from theirs by one level. */

#include "primitives/resize/ResizeSpec.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Builds a plan in the block `spec`, which has the size that ippiResizeGetSize_8u reports for ippSuper.
   Statuses, in the order of the tests: ippStsNullPtrErr, ippStsNoOperation (a side of 0), ippStsSizeErr (a
   side below 1, or a source side below its destination side). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeSuperInit_8u(IppiSize srcSize, IppiSize dstSize,
                                                             IppiResizeSpec* spec);

/* Make the tile of `dstSize` pixels whose first pixel is `dstOffset` of the destination. `dst` points to the
   tile's first pixel, and `src` to the first source pixel that it covers: in a column c that is column
   floor(c * sr / dr), rows alike, the image's first pixel for a tile at (0, 0). Steps are the distances
   between rows in bytes. A tile that reaches past the destination is clipped. A pixel comes out the same in
   every tile. Nothing outside the rectangle that the tile covers is read. `buffer` has the size that
   ippiResizeGetBufferSize_8u reports for `dstSize`.

   Statuses, in the order of the tests: ippStsNullPtrErr (src, dst, spec or buffer), ippStsNoOperation (a side
   of 0), ippStsContextMatchErr (`spec` holds no plan), ippStsSizeErr (a side below 1), ippStsOutOfRangeErr
   (`dstOffset` outside the destination), ippStsNotSupportedModeErr (an antialiasing plan),
   ippStsContextMatchErr (the plan of another method); ippStsSizeWrn when `dstSize` exceeds the
   destination. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeSuper_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, const IppiResizeSpec* spec,
                                                             Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeSuper_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, const IppiResizeSpec* spec,
                                                             Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeSuper_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, const IppiResizeSpec* spec,
                                                             Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
