#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGECOUNT_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGECOUNT_H

#include "ImageProcessing/DornImage/analysis/EmptyPageFilling.h"

namespace DornImage {

// Each counts the pixels of a bitmap, whose size the grid was built for, into the cells of the grid, and
// answers whether the page can be judged. Bitmaps without pixels in memory are never read.

/// 1 bit a pixel: counts the bits that are 1. False when the bitmap has a header only.
bool countBilevelPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params);

/// 8 bits a pixel. False when a palette of colours can't be turned to grey; a filter that fails leaves the
/// cells as they are and answers true.
bool countGreyPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params);

/// 24 bits a pixel. False when the conversion to grey or the filter fails.
bool countColourPixels(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params);

/// Counts in a grey picture of `width` x `height` bytes, `pitch` bytes from one line to the next, the pixels
/// that stand out from the mean of the 33 x 33 pixels around them.
///
/// Of the pixels that stand out those are dropped that have hardly another one among their 5 x 5 neighbours,
/// and pixels that do not stand out are taken in when nearly all of theirs do: noise, and holes of strokes.
/// @return false when there is no memory for the two pictures that this takes, or the filter refuses.
bool countByBoxFilter(const unsigned char* bits, int pitch, int width, int height, EmptyPageFilling& grid,
                      const EmptyPage3Params& params);

} // namespace DornImage

#endif
