#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZELANCZOS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZELANCZOS_H

/* Lanczos resize: each destination pixel is a weighted sum of the 4 x 4 or 6 x 6 source pixels around its
   position, in single precision. Valid in C.

   Positions are those of the linear method. The weight of a source pixel at distance t on an axis is
   sinc(t) sinc(t / n) for t < n, where n is the number of lobes, taken from a table with linear
   interpolation; the weights of a position are normalised. Variants 5 to 7 fuse multiplications and
   additions, so that rare pixels differ by one. */

#include "primitives/resize/ResizeSpec.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Builds a plan for `numLobes` lobes, 2 or 3, in the block `spec`, with the scratch block `initBuf`; both
   have the sizes that ippiResizeGetSize_8u reports for ippLanczos, at any address. `initBuf` isn't needed
   afterwards. A plan can't be used unless the status is 0. Statuses, in the order of the tests:
   ippStsNullPtrErr (spec or initBuf), ippStsNoOperation (a side of 0), ippStsSizeErr (a side below 1),
   ippStsNotSupportedModeErr (numLobes), ippStsSizeErr (a source side below 2 numLobes). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLanczosInit_8u(IppiSize srcSize, IppiSize dstSize,
                                                               uint32_t numLobes, IppiResizeSpec* spec,
                                                               Ipp8u* initBuf);

/* Make a tile of the destination. Arguments and statuses are those of ippiResizeLinear_8u_C1R, after which a
   plan with another number of lobes than 2 or 3 gives ippStsNotSupportedModeErr; with a side in memory up to
   numLobes pixels beyond it are read. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLanczos_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                               int32_t dstStep, IppiPoint dstOffset,
                                                               IppiSize dstSize, uint32_t border,
                                                               const Ipp8u* borderValue,
                                                               const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLanczos_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                               int32_t dstStep, IppiPoint dstOffset,
                                                               IppiSize dstSize, uint32_t border,
                                                               const Ipp8u* borderValue,
                                                               const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeLanczos_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                               int32_t dstStep, IppiPoint dstOffset,
                                                               IppiSize dstSize, uint32_t border,
                                                               const Ipp8u* borderValue,
                                                               const IppiResizeSpec* spec, Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
