#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGE_H

#include "base/Export.h"

#include <FreeImage.h>

#include <cstdint>
#include <list>

namespace DornImage {

/// Settings and results of one empty page detection. The settings have no default values.
struct EmptyPage3Params {
    /// Set: a pixel stands out when it lies more than this many grey levels from the mean of the 33 x 33
    /// pixels around it. Not used for pages of 1 bit.
    std::uint8_t differenceThreshold;
    /// Set: the largest share of counted pixels, 0 to 1, that an empty page and each of its cells may have.
    double maxFilling;
    /// Set: what is left out on each side, in thousandths of the width and of the height. At least 16 pixels
    /// are left out in any case.
    std::uint32_t marginPerMille;

    /// Result: counted pixels of all cells by the pixels inside the margins.
    double filling;
    /// Result: the share of each cell, appended to what the list holds: from the bottom left cell to the
    /// right, then upwards.
    std::list<double> cellFillings;
};

/// Decides whether a scanned page holds nothing worth keeping.
///
/// The page inside its margins is cut into at most 5 x 5 cells of 100 pixels and more. What is counted: in a
/// page of 1 bit the pixels of bit value 1, whichever colour that is; in grey the pixels that stand out from
/// their neighbourhood, without specks of one or two pixels and with the pinholes of strokes. A page is empty
/// when neither the share of the whole nor that of any cell exceeds `maxFilling`. Up to four pixel columns
/// and rows at the right and the top that the cells leave over are not counted.
///
/// The bitmap is only read, and several threads may read one at a time, each with a record of its own.
/// @param bitmap of 1, 8 or 24 bits a pixel. 8 bits with a palette of colours and 24 bits are turned to grey.
/// @return whether the page is empty; true without results for a bitmap without width or height. False
///         without results when it can't be judged: null arguments, a side below 34 pixels, margins that
///         leave nothing, another depth, a failed conversion, 1 bit without pixels in memory, and for 24
///         bits a failed filter. An 8-bit grey page whose filter fails, or that has no pixels in memory, is
///         judged with nothing counted.
DORNIMAGE_API bool detectEmptyPage(FIBITMAP* bitmap, EmptyPage3Params& params);

} // namespace DornImage

#endif
