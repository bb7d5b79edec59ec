#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGEFILLING_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_EMPTYPAGEFILLING_H

#include "ImageProcessing/DornImage/analysis/EmptyPage.h"

#include <cstdint>
#include <memory>

namespace DornImage {

/// A rectangle of the page, in pixels with `y` counted in scan lines from the bottom, and how many of its
/// pixels were counted.
struct EmptyPageCell {
    std::uint32_t x;
    std::uint32_t width;
    std::uint32_t y;
    std::uint32_t height;
    std::uint32_t filling;
};

/// The grid of cells that an empty page detection counts in.
class EmptyPageFilling {
public:
    /// Both sides of the page have to be 34 pixels or more, and more than twice their margin. Margins below
    /// 16 pixels are raised to 16.
    EmptyPageFilling(unsigned width, unsigned height, unsigned marginX, unsigned marginY);
    virtual ~EmptyPageFilling();

    unsigned getCellCount() const { return rows * columns; }
    /// Cells go row after row, the bottom row first, each from the left.
    EmptyPageCell& getCell(unsigned index) { return cells[index]; }

    /// Writes the shares into `params` and answers whether none exceeds its limit. Once per grid.
    bool computeVerdict(EmptyPage3Params& params);

private:
    static std::uint32_t raisedMargin(std::uint32_t margin);
    static std::uint32_t cellsAlong(std::uint32_t length);
    void layOut();
    double shareOfPage() const;

    std::uint32_t columns;
    std::uint32_t rows;
    std::uint32_t marginX;
    std::uint32_t innerWidth;
    std::uint32_t marginY;
    std::uint32_t innerHeight;
    std::uint32_t totalFilling;
    std::unique_ptr<EmptyPageCell[]> cells;
};

} // namespace DornImage

#endif
