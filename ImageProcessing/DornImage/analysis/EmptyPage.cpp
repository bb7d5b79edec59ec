#include "ImageProcessing/DornImage/analysis/EmptyPage.h"

#include "ImageProcessing/DornImage/analysis/EmptyPageCount.h"
#include "ImageProcessing/DornImage/analysis/EmptyPageFilling.h"

namespace DornImage {

namespace {

constexpr unsigned leastSide = 34; // twice the least margin and 2 pixels

// The product wraps at 32 bits: an absurd share may give any margin.
std::uint32_t marginOf(std::uint32_t side, std::uint32_t perMille) {
    return perMille * side / 1000;
}

bool count(EmptyPageFilling& grid, FIBITMAP* bitmap, const EmptyPage3Params& params) {
    switch (::FreeImage_GetBPP(bitmap)) {
    case 1:
        return countBilevelPixels(grid, bitmap, params);
    case 8:
        return countGreyPixels(grid, bitmap, params);
    case 24:
        return countColourPixels(grid, bitmap, params);
    default:
        return false;
    }
}

} // namespace

bool detectEmptyPage(FIBITMAP* bitmap, EmptyPage3Params& params) {
    // Other languages hand the record in by its address. This file is compiled so that the test stays.
    if (!bitmap || reinterpret_cast<std::uintptr_t>(&params) == 0) {
        return false;
    }
    const unsigned width = ::FreeImage_GetWidth(bitmap);
    const unsigned height = ::FreeImage_GetHeight(bitmap);
    if (width == 0 || height == 0) {
        return true;
    }
    const std::uint32_t marginX = marginOf(width, params.marginPerMille);
    const std::uint32_t marginY = marginOf(height, params.marginPerMille);
    if (width < leastSide || height < leastSide || width <= 2 * marginX || height <= 2 * marginY) {
        return false;
    }
    EmptyPageFilling grid(width, height, marginX, marginY);
    return count(grid, bitmap, params) && grid.computeVerdict(params);
}

} // namespace DornImage
