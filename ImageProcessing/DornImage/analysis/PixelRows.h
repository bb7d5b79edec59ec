#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_PIXELROWS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_PIXELROWS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace DornImage {

/// How many of the `width` bits from bit `x` on are 1, counted from the most significant bit of the first
/// byte.
std::uint32_t countSetBits(const std::uint8_t* row, std::size_t x, std::size_t width);

/// Replaces each mean by 255 where the pixel lies more than `threshold` from it, else by 0.
void markDifferences(const std::uint8_t* pixels, std::uint8_t* means, std::size_t width,
                     std::uint8_t threshold);

/// Counts the marks of a cell that its neighbourhood confirms, row by row.
///
/// The rows are added up column by column in bytes, which a vector holds sixteen of, and the sums are moved
/// to the total before a byte can overflow.
class MarkCounter {
public:
    /// Begins a cell whose rows have `width` pixels.
    void start(std::size_t width);

    /// @param marks 255 for a marked pixel, else 0.
    /// @param density mean of the marks among the 25 neighbours of each pixel. A mark counts with about 3 of
    ///        them, a gap with about 23.
    void addRow(const std::uint8_t* marks, const std::uint8_t* density);

    /// Counted pixels of the cell, cut to 32 bits.
    std::uint32_t total();

private:
    void flush();

    std::vector<std::uint8_t> columns_;
    unsigned pending_ = 0;
    std::uint32_t total_ = 0;
};

} // namespace DornImage

#endif
