#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SOURCENAMES_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_SOURCENAMES_H

namespace DornImage {

// The names under which the library reports; log readers and error records know these and no others.
inline constexpr char dornImageSource[] = "ImageProcessing/DornImage/DornImage";
inline constexpr char exifAdapterSource[] = "ImageProcessing/DornImage/ExifOrientationAdapter";
inline constexpr char freeImageUtilsSource[] = "ImageProcessing/DornImage/FreeImageUtils";

/// The line of the reporting statement. Compilers give it to a default argument by this name; the standard's
/// own form is not known to all that read these sources.
constexpr unsigned lineOf(unsigned line = __builtin_LINE()) {
    return line;
}

} // namespace DornImage

#endif
