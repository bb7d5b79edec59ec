#include "ImageProcessing/DornImage/analysis/EmptyPageFilling.h"

#include <algorithm>

namespace DornImage {

EmptyPageFilling::EmptyPageFilling(unsigned width, unsigned height, unsigned marginX_, unsigned marginY_)
    : marginX(raisedMargin(marginX_)), innerWidth(width - 2 * marginX), marginY(raisedMargin(marginY_)),
      innerHeight(height - 2 * marginY), totalFilling(0) {
    columns = cellsAlong(innerWidth);
    rows = cellsAlong(innerHeight);
    cells = std::make_unique<EmptyPageCell[]>(getCellCount());
    layOut();
}

EmptyPageFilling::~EmptyPageFilling() = default;

std::uint32_t EmptyPageFilling::raisedMargin(std::uint32_t margin) {
    return std::max<std::uint32_t>(margin, 16);
}

// As many cells as there is room for at 100 pixels each, but 1 to 5.
std::uint32_t EmptyPageFilling::cellsAlong(std::uint32_t length) {
    return std::clamp<std::uint32_t>(length / 100, 1, 5);
}

// What the divisions drop is covered by no cell, yet belongs to the area that the page's share refers to.
void EmptyPageFilling::layOut() {
    const std::uint32_t width = innerWidth / columns;
    const std::uint32_t height = innerHeight / rows;
    for (std::uint32_t row = 0; row < rows; ++row) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            cells[row * columns + column] = {marginX + column * width, width, marginY + row * height, height,
                                             0};
        }
    }
}

// The area wraps at 32 bits, as the cells' do.
double EmptyPageFilling::shareOfPage() const {
    return static_cast<double>(totalFilling) / static_cast<double>(innerHeight * innerWidth);
}

bool EmptyPageFilling::computeVerdict(EmptyPage3Params& params) {
    for (unsigned i = 0; i < getCellCount(); ++i) {
        totalFilling += cells[i].filling;
    }
    params.filling = shareOfPage();
    bool empty = !(params.filling > params.maxFilling);
    for (unsigned i = 0; i < getCellCount(); ++i) {
        const EmptyPageCell& cell = cells[i];
        const double share =
            static_cast<double>(cell.filling) / static_cast<double>(cell.height * cell.width);
        params.cellFillings.push_back(share);
        if (share > params.maxFilling) {
            empty = false;
        }
    }
    return empty;
}

} // namespace DornImage
