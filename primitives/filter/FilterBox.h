#ifndef DORNIMAGE_PRIMITIVES_FILTER_FILTERBOX_H
#define DORNIMAGE_PRIMITIVES_FILTER_FILTERBOX_H

/* Box filter: every pixel becomes the rounded mean of a rectangle around it, at a cost per pixel that doesn't
   depend on the rectangle's size. Valid in C. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Size in bytes of the work buffer that the filter needs for a region of `roiSize` and a mask of `maskSize`
   pixels; any address will do for it. `dataType` is ipp8u, ipp16u, ipp16s or ipp32f, `numChannels` 1, 3 or 4.
   Statuses, in the order of the tests: ippStsNullPtrErr (bufferSize is null), ippStsSizeErr (a side of the
   region below 1), ippStsMaskSizeErr (a side of the mask below 1), ippStsDataTypeErr, ippStsNumChannelsErr,
   ippStsExceededSizeErr (2^31 bytes or more). `*bufferSize` is written on success only. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterBoxBorderGetBufferSize(IppiSize roiSize, IppiSize maskSize,
                                                                       int32_t dataType, int32_t numChannels,
                                                                       int32_t* bufferSize);

/* Filters a one-channel image. `srcStep` and `dstStep` are the distances between rows in bytes; they may be
   less than a row, and the image is then what overlapping rows give. The mask lies (maskSize.width - 1) / 2
   columns to the left of its pixel and (maskSize.height - 1) / 2 rows above, both rounded down.

   A result is recip * S + 0.5 without its fraction, where S is the sum below the mask and recip the
   reciprocal of the mask's area, each of these values and both steps rounded to single precision: the mean
   rounded to the nearest integer, halves up, as far as that precision goes. It is the same on every
   processor, and exact for masks of 3 x 3, 5 x 5, 7 x 7 and 33 x 33.

   `border` tells what lies beyond the image: ippBorderRepl, ippBorderMirror or ippBorderConst with the value
   behind `borderValue` (not read otherwise), together with ippBorderInMemTop and its kind for sides whose
   neighbouring pixels, as far as the mask reaches, are read from memory; or ippBorderInMem alone. Mirrored
   images that are smaller than the mask's reach are mirrored again at their other edge.

   `src` may be `dst` with the same step; other overlaps give an undefined image. `buffer` has the size that
   ippiFilterBoxBorderGetBufferSize reports for ipp8u and one channel, and belongs to the call.

   Statuses, in the order of the tests: ippStsNullPtrErr (src, dst or buffer is null), ippStsStepErr (a step
   below 1), ippStsSizeErr, ippStsMaskSizeErr, ippStsBorderErr (border above 255), ippStsNullPtrErr
   (ippBorderConst and borderValue is null), ippStsBorderErr (another kind), ippStsExceededSizeErr (there is
   no valid buffer size for these arguments). */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiFilterBoxBorder_8u_C1R(const Ipp8u* src, int32_t srcStep,
                                                                 Ipp8u* dst, int32_t dstStep,
                                                                 IppiSize roiSize, IppiSize maskSize,
                                                                 uint32_t border, const Ipp8u* borderValue,
                                                                 Ipp8u* buffer);

#if defined(__cplusplus)
}
#endif

#endif
