#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_EXIFBLOCK_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_EXIFBLOCK_H

#include "base/Export.h"

#include <cstddef>

namespace DornImage {

/// Changes single values in an EXIF block in memory: that of a JPEG file, or what FreeImage keeps as
/// "ExifRaw" of a bitmap and writes to its file. Values that aren't there or aren't well formed stay, as does
/// the place of everything.
class DORNIMAGE_API ExifBlock {
public:
    /// `block` begins with "Exif" and two zeros. The memory stays the caller's and has to outlive this
    /// object.
    ExifBlock(unsigned char* block, std::size_t size);

    /// Makes the resolution across the one down and the other way round.
    void exchangeResolutions();

    /// Sets the orientation to 1, where there is one.
    void markUpright();

private:
    std::size_t number(std::size_t place, std::size_t bytes) const;
    unsigned char* entryOf(std::size_t tag, std::size_t type) const;
    unsigned char* fractionOf(std::size_t tag) const;

    unsigned char* data = nullptr; // begins with the byte order
    std::size_t dataSize = 0;
    bool bigEndian = false;
};

} // namespace DornImage

#endif
