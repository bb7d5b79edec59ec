#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SOURCENAMES_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SOURCENAMES_H

#include <source_location>

namespace DornImage {

// The names under which the library reports; log readers and error records know these and no others.
inline constexpr char dornImageSource[] = "ImageProcessing/DornImage/DornImage";
inline constexpr char freeImageUtilsSource[] = "ImageProcessing/DornImage/FreeImageUtils";

/// The line of the reporting statement.
inline unsigned lineOf(std::source_location where = std::source_location::current()) {
    return static_cast<unsigned>(where.line());
}

} // namespace DornImage

#endif
