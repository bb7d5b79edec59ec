#ifndef DORNIMAGE_TOOLS_DORNIMAGE_PAGEFACTS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_PAGEFACTS_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What can be said about one decoded page.
struct PageFacts {
    unsigned width = 0;  // pixels
    unsigned height = 0; // pixels
    unsigned depth = 0;  // bits a pixel
    std::string pixelType;
    std::string colour;
    std::string palette; // none, grey ramp, inverted grey ramp, grey or colour
    unsigned paletteEntries = 0;
    bool transparent = false;
    unsigned dotsPerMetreX = 0;
    unsigned dotsPerMetreY = 0;
    int normalisedWidth = 0;                                // pixels, if they were square
    int normalisedHeight = 0;                               // pixels, if they were square
    std::optional<int> orientation;                         // EXIF value, 1 to 8 in a sound file
    std::vector<std::pair<std::string, unsigned>> metadata; // number of tags of each model that has any
};

PageFacts factsOf(DornImage::Image& image);

/// The EXIF value, when there is one.
std::optional<int> exifOrientation(FIBITMAP* bitmap);

/// Dots per inch: a whole number where the whole dots per metre can stand for one, else rounded to
/// hundredths.
double dotsPerInch(unsigned dotsPerMetre);

#endif
