#ifndef DORNIMAGE_TOOLS_DORNIMAGE_GREYPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_GREYPAGE_H

#include <FreeImage.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

/// A page of 8-bit grey pixels without padding; lines count from the bottom, as in a FIBITMAP.
struct GreyPage {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> pixels;

    unsigned char* line(unsigned y) { return pixels.data() + std::size_t{y} * width; }
    const unsigned char* line(unsigned y) const { return pixels.data() + std::size_t{y} * width; }
    unsigned longSide() const { return width > height ? width : height; }
};

/// The page with blocks of `across` x `down` pixels made one by their mean; what does not fill a block is
/// left out. `bitmap` is 8-bit grey, and a block has at most 256 pixels.
GreyPage reduced(FIBITMAP* bitmap, unsigned across, unsigned down);
GreyPage reduced(const GreyPage& page, unsigned factor);

/// The page with each column moved up by `slope` pixels for every column to the right of the middle, and down
/// on the left; whole pixels only, so that a column's steps between dark and light stay as they were. The
/// page grows so that nothing is lost, and columns go on beyond their ends as they end.
GreyPage sheared(const GreyPage& page, double slope);

/// How the grey levels of a page fall into two classes.
struct GreySplit {
    unsigned threshold = 0; // the lightest level that is dark
    double darkMean = 0;
    double lightMean = 0;
};

/// Otsu's threshold: where the variance between the classes is greatest, the middle of several such places.
GreySplit splitLevels(const GreyPage& page);

/// Calls `use` with the place of each 1 among bytes that are 0 or 1.
template <class Use>
void eachMarked(const std::vector<unsigned char>& marks, Use use) {
    std::size_t x = 0;
    for (std::uint64_t word = 0; x + sizeof word <= marks.size(); x += sizeof word) {
        std::memcpy(&word, marks.data() + x, sizeof word);
        for (; word != 0; word &= word - 1) {
            use(static_cast<unsigned>(x) + static_cast<unsigned>(std::countr_zero(word)) / 8);
        }
    }
    for (; x < marks.size(); ++x) {
        if (marks[x] != 0) {
            use(static_cast<unsigned>(x));
        }
    }
}

/// Makes light what is dark over more than `thickness` pixels from bottom to top, or reaches the lower or
/// upper edge: scan borders, table tops, pictures, which have straight edges of their own beside the text's.
void removeThick(GreyPage& page, unsigned threshold, unsigned thickness);

#endif
