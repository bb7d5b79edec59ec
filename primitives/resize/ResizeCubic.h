#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZECUBIC_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZECUBIC_H

/* Cubic resize: each destination pixel is a weighted sum of the 4 x 4 source pixels around its position, in
   single precision. Valid in C.

   Positions are those of the linear method. The weight of a source pixel at distance t on an axis is K(t) of
   the two-parameter family of piecewise cubics by Mitchell and Netravali (Reconstruction Filters in Computer
   Graphics, 1988):
       6 K(t) = (12 - 9 B - 6 C) t^3 + (-18 + 12 B + 6 C) t^2 + (6 - 2 B)                for t < 1
       6 K(t) = (-B - 6 C) t^3 + (6 B + 30 C) t^2 + (-12 B - 48 C) t + (8 B + 24 C)      for t < 2
   B = 1, C = 0 is the B-spline, which smooths; B = 0, C = 0.5 goes through the source pixels. Weights are not
   normalised. Variants 5 to 7 fuse multiplications and additions, so that rare pixels differ by one. */

#include "primitives/resize/ResizeSpec.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Builds a plan in the block `spec`, with the scratch block `initBuf`; both have the sizes that
   ippiResizeGetSize_8u reports for ippCubic, at any address. `initBuf` isn't needed afterwards. Statuses, in
   the order of the tests: ippStsNullPtrErr (spec or initBuf), ippStsNoOperation (a side of 0), ippStsSizeErr
   (a side below 1, or a source side below 4). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeCubicInit_8u(IppiSize srcSize, IppiSize dstSize, float valueB,
                                                             float valueC, IppiResizeSpec* spec,
                                                             Ipp8u* initBuf);

/* Make a tile of the destination. Arguments and statuses are those of ippiResizeLinear_8u_C1R; with a side in
   memory up to two pixels beyond it are read. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeCubic_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, uint32_t border,
                                                             const Ipp8u* borderValue,
                                                             const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeCubic_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, uint32_t border,
                                                             const Ipp8u* borderValue,
                                                             const IppiResizeSpec* spec, Ipp8u* buffer);
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeCubic_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst,
                                                             int32_t dstStep, IppiPoint dstOffset,
                                                             IppiSize dstSize, uint32_t border,
                                                             const Ipp8u* borderValue,
                                                             const IppiResizeSpec* spec, Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
