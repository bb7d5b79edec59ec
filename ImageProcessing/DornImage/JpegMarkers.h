#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_JPEGMARKERS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_JPEGMARKERS_H

#include <cstddef>
#include <cstdint>

namespace DornImage {

/// Changes single values in the JFIF header and the EXIF block of a JPEG file in memory, and nothing where
/// they aren't there or aren't well formed. Sizes and places of all else stay.
class JpegMarkers {
public:
    /// Finds the two blocks. The memory stays the caller's.
    JpegMarkers(unsigned char* file, std::size_t size);

    /// Makes the resolution across the one down and the other way round.
    void exchangeResolutions();

    /// Sets the EXIF orientation to 1, where there is one.
    void markUpright();

private:
    void findExif(unsigned char* block, std::size_t size);
    std::size_t number(std::size_t place, std::size_t bytes) const;
    unsigned char* exifEntry(std::size_t tag, std::size_t type) const;
    unsigned char* exifFraction(std::size_t tag) const;

    unsigned char* jfifDensity_ = nullptr; // 2 bytes across, 2 bytes down
    unsigned char* exif_ = nullptr;        // begins with the byte order
    std::size_t exifSize_ = 0;
    bool bigEndian_ = false;
};

} // namespace DornImage

#endif
