#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DIBHEADER_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DIBHEADER_H

#include "platform/BitmapRecords.h"

#include <cstddef>
#include <cstdint>

// Arithmetic on the header of a device-independent bitmap. Nothing here believes that the block is as large
// as the header says: fields that lie behind the block's end count as 0, and sums are made in 64 bits.

namespace DornImage {

/// A device-independent bitmap in memory, from the first byte of its header on.
struct DibBlock {
    BYTE* start;
    std::size_t size;
};

/// Places of the fields, in bytes from the header's start.
namespace DibField {
constexpr std::size_t headerSize = 0;
constexpr std::size_t coreWidth = 4;
constexpr std::size_t coreHeight = 6;
constexpr std::size_t coreBitCount = 10;
constexpr std::size_t width = 4;
constexpr std::size_t height = 8;
constexpr std::size_t bitCount = 14;
constexpr std::size_t compression = 16;
constexpr std::size_t imageBytes = 20;
constexpr std::size_t dotsPerMetreX = 24;
constexpr std::size_t dotsPerMetreY = 28;
constexpr std::size_t coloursUsed = 32;
constexpr std::size_t coloursImportant = 36;
constexpr std::size_t profileOffset = 112;
constexpr std::size_t profileSize = 116;
} // namespace DibField

/// Sizes of the kinds of header.
constexpr DWORD coreHeaderSize = 12;
constexpr DWORD infoHeaderSize = 40;
constexpr DWORD extendedHeaderSize = 108;
constexpr DWORD profileHeaderSize = 124;

/// Bytes of a BITMAPFILEHEADER.
constexpr DWORD fileHeaderSize = 14;

WORD dibWord(const DibBlock& dib, std::size_t place);
DWORD dibDword(const DibBlock& dib, std::size_t place);
LONG dibLong(const DibBlock& dib, std::size_t place);

/// The header's size if it is one of the four above, else 0: the header is invalid.
DWORD getDibHeaderSize(const DibBlock& dib);

/// Bytes of a row, padded to 4; 0 for a width of 0 and for a row of more than 0x1FFFFFFC bytes.
DWORD getDibRowBytes(DWORD width, DWORD bitCount);

/// Colours in the table. Only a header of 40 bytes is asked for the number of used colours, and only there
/// the bit count is looked for in its place; all others are taken for core headers.
DWORD getDibColourCount(const DibBlock& dib);

/// Bytes of the colour table, as a 16-bit number: larger tables wrap.
WORD getDibColourTableSize(const DibBlock& dib);

/// The first pixel: behind as many bytes as the header's first word says, and the colour table. Masks of
/// BI_BITFIELDS are not skipped. Null when that is behind the block's end.
const BYTE* getDibPixels(const DibBlock& dib);

/// Width, and height without its sign; either pointer may be null. False for an invalid header and for a
/// height that has no absolute value.
bool getDibDimensions(const DibBlock& dib, LONG* width, LONG* height);

/// Bytes from the header's start to the pixels, by the rules of files: with masks, and with a colour profile
/// that comes first. 0 for an invalid header and for more than 32 bits.
DWORD getDibPixelOffset(const DibBlock& dib);

/// Bytes of header, colours, pixels and profile. 0 for an invalid header, for compressed pixels without a
/// size, and for more than 32 bits.
DWORD getDibTotalSize(const DibBlock& dib);

/// Works out a height of 0 from `size`, the bytes of the whole file with its file header, and writes it, and
/// the size of the image, to the header; with `topDown` the height is negative, except in a core header. True
/// when the header has a height, false when none can be found.
bool fixDibHeight(const DibBlock& dib, DWORD size, bool topDown);

/// Fills in the file header that belongs before the block; false when either of its sizes is 0.
bool makeBmpFileHeader(const DibBlock& dib, BITMAPFILEHEADER& fileHeader);

} // namespace DornImage

#endif
