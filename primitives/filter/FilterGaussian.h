#ifndef DORNIMAGE_PRIMITIVES_FILTER_FILTERGAUSSIAN_H
#define DORNIMAGE_PRIMITIVES_FILTER_FILTERGAUSSIAN_H

/* Smoothing of 8-bit images with a separable Gaussian kernel. Valid in C.

   Three steps: ask for the sizes of a record and of a work buffer, build the record, filter with both.
   A record holds the kernel and the border type and no image size: it serves every image up to the size asked
   for. It is only read while filtering, so threads may share one if each has a buffer of its own. Neither
   block needs an alignment; a record may be moved to an address that lies alike to a 16-byte boundary.

   A row pass and a column pass divide by 4096 each and truncate. The weights are rounded to multiples of
   1/4096 one by one and are not corrected to add up to 1: a flat area may come out a level or two darker or
   lighter. The drift grows with the number of weights, as far as black for kernels so long and flat that
   every weight rounds to 0. Every variant gives the same pixels. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* The record, in a block of the size that ippiFilterGaussianGetBufferSize reports. */
typedef struct IppFilterGaussianSpec IppFilterGaussianSpec;

/* The sizes in bytes of the record and of the work buffer for images of at most `maxRoiSize` pixels.
   `kernelSize` is the number of weights, odd and at least 3; `dataType` is ipp8u, ipp16u, ipp16s or ipp32f
   (filters exist for ipp8u); `numChannels` is 1 or 3.

   Gives, in this order and with nothing stored: ippStsNullPtrErr (an output pointer is null), ippStsSizeErr
   (a side below 1), ippStsBadArgErr (kernel size), ippStsDataTypeErr, ippStsChannelErr, ippStsExceededSizeErr
   (a size of 0x7FFFFFFF or more). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterGaussianGetBufferSize(IppiSize maxRoiSize,
                                                                      uint32_t kernelSize, int32_t dataType,
                                                                      int32_t numChannels, int32_t* specSize,
                                                                      int32_t* bufferSize);

/* Builds the record for weights exp(-t^2 / (2 sigma^2)) at the distances t in pixels from the middle.
   `borderType` is ippBorderRepl, ippBorderMirror or ippBorderConst, with or without flags for sides that
   exist in memory, or ippBorderInMem. `buffer` is scratch memory of the reported size.

   Gives the errors of ippiFilterGaussianGetBufferSize in the same order, with `spec` and `buffer` as the
   pointers, then ippStsBadArgErr (`sigma` is not above 0), ippStsBorderErr, and ippStsExceededSizeErr (a
   kernel for which no buffer size can be reported). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterGaussianInit(IppiSize roiSize, uint32_t kernelSize,
                                                             float sigma, uint32_t borderType,
                                                             int32_t dataType, int32_t numChannels,
                                                             IppFilterGaussianSpec* spec, Ipp8u* buffer);

/* Filters one channel. `src` and `dst` point to the first pixel of the first row; steps are the distances
   between rows in bytes. Sides whose flag is set in the border type are read up to half a kernel beyond the
   image. `borderValue` is what lies beyond the other sides under ippBorderConst: on the left and right as
   pixels, at the top and bottom as rows that are not scaled any more. Under ippBorderMirror positions beyond
   the far edge are mirrored again, and an image of one row or column is replicated. `dst` may be `src` with
   the same step.

   Gives, in this order: ippStsNullPtrErr, ippStsStepErr (a step below the width), ippStsSizeErr (a side below
   1), ippStsBorderErr; and ippStsNoErr with nothing filtered when the record's kernel size is even or below
   3, or its divisor is 0. ippStsExceededSizeErr when the record claims a kernel for which there is no buffer.
 */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterGaussianBorder_8u_C1R(const Ipp8u* src, int32_t srcStep,
                                                                      Ipp8u* dst, int32_t dstStep,
                                                                      IppiSize roiSize, Ipp8u borderValue,
                                                                      const IppFilterGaussianSpec* spec,
                                                                      Ipp8u* buffer);

/* The same for three interleaved channels, each filtered apart. `borderValue` points to three values and is
   read under ippBorderConst only; null is then ippStsNullPtrErr, after ippStsBorderErr. A record without
   kernel or divisor gives ippStsBadArgErr. The steps are compared with the width in pixels. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterGaussianBorder_8u_C3R(
    const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep, IppiSize roiSize,
    const Ipp8u* borderValue, const IppFilterGaussianSpec* spec, Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
