#ifndef DORNIMAGE_PLATFORM_PIXELFORMAT_H
#define DORNIMAGE_PLATFORM_PIXELFORMAT_H

#include "platform/BitmapRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace dornplatform {

/* How the pixels of a row lie: 1, 4 and 8 bits are indices, the first pixel in the highest bits; 16 and 32
   bits are little-endian numbers with colour masks; 24 bits are blue, green, red. */
struct PixelFormat {
    unsigned bits = 0;
    std::array<DWORD, 3> masks{}; /* red, green, blue; of 16 and 32 bits */

    bool isIndexed() const { return bits <= 8; }
    unsigned colours() const { return isIndexed() ? 1U << bits : 0; }
    bool operator==(const PixelFormat&) const = default;
};

using ColourTable = std::array<RGBQUAD, 256>;

/* Size, row order and format that a header tells, checked. */
struct DibLayout {
    PixelFormat format;
    LONG width = 0;  /* above 0 */
    LONG height = 0; /* above 0 */
    bool topDown = false;
    std::size_t stride = 0; /* bytes of a row with its padding */
    std::uint64_t bytes = 0;
};

/* The masks of a depth that has masks and whose header names none. */
PixelFormat plainFormat(unsigned bits);
/* Bytes of a row, padded to 4. */
std::size_t dibStride(std::uint64_t width, unsigned bits);
/* What a header tells; false for what is not supported. With BI_BITFIELDS the masks behind the first 40 bytes
   count, unless all of them are 0. */
bool readLayout(const BITMAPINFOHEADER& header, DibLayout& layout);
/* The colours behind the header, black where there are none. */
void readColourTable(const BITMAPINFO& info, unsigned bits, ColourTable& colours);

/* Copies `count` pixels of a row from column `fromX` on to column `toX` of another row, converting their
   format. Indices are looked up, and become the nearest colour of `toColours`, unless both tables are the
   same. */
struct RowCopy {
    PixelFormat from;
    const ColourTable* fromColours;
    PixelFormat to;
    const ColourTable* toColours;

    void operator()(const BYTE* source, std::size_t fromX, BYTE* target, std::size_t toX,
                    std::size_t count) const;

private:
    bool copiesBits() const;
};

} // namespace dornplatform

#endif
