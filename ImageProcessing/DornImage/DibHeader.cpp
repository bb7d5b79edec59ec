#include "ImageProcessing/DornImage/DibHeader.h"

#include <cstring>
#include <limits>

namespace DornImage {

namespace {

template <typename Number>
Number readField(const DibBlock& dib, std::size_t place) {
    Number number = 0;
    if (place <= dib.size && dib.size - place >= sizeof number) {
        std::memcpy(&number, dib.start + place, sizeof number);
    }
    return number;
}

template <typename Number>
bool writeField(const DibBlock& dib, std::size_t place, Number number) {
    if (place > dib.size || dib.size - place < sizeof number) {
        return false;
    }
    std::memcpy(dib.start + place, &number, sizeof number);
    return true;
}

/// 0 stands for what can't be told in 32 bits.
DWORD fitted(std::uint64_t bytes) {
    return bytes <= std::numeric_limits<DWORD>::max() ? static_cast<DWORD>(bytes) : 0;
}

constexpr std::uint64_t longestRow = 0x1FFFFFFC;

std::uint64_t paddedRow(DWORD width, DWORD bitCount) {
    return (std::uint64_t{width} * bitCount + 31) >> 3 & ~std::uint64_t{3};
}

/// Colours that a depth brings along; none above 8 bits.
std::uint64_t coloursOfDepth(unsigned bitCount) {
    return bitCount < 9 ? std::uint64_t{1} << bitCount : 0;
}

/// Bytes of the colours by the rules of files.
std::uint64_t colourBytes(const DibBlock& dib) {
    if (getDibHeaderSize(dib) == coreHeaderSize) {
        return 3 * coloursOfDepth(dibWord(dib, DibField::coreBitCount));
    }
    const DWORD used = dibDword(dib, DibField::coloursUsed);
    return 4 * (used != 0 ? used : coloursOfDepth(dibWord(dib, DibField::bitCount)));
}

/// Bytes of the masks that stand between a header of 40 bytes and its pixels.
std::uint64_t maskBytes(const DibBlock& dib) {
    const bool masks =
        getDibHeaderSize(dib) == infoHeaderSize && dibDword(dib, DibField::compression) == BI_BITFIELDS;
    return masks ? 12 : 0;
}

std::uint64_t absolute(LONG number) {
    const std::int64_t wide = number;
    return static_cast<std::uint64_t>(wide < 0 ? -wide : wide);
}

bool fixCoreHeight(const DibBlock& dib, DWORD size) {
    const WORD bitCount = dibWord(dib, DibField::coreBitCount);
    const DWORD rowBytes = getDibRowBytes(dibWord(dib, DibField::coreWidth), bitCount);
    const std::uint64_t other = coreHeaderSize + colourBytes(dib);
    return rowBytes != 0 && other <= size &&
           writeField(dib, DibField::coreHeight, static_cast<WORD>((size - other) / rowBytes));
}

/// The image's size by its field, or what `size` leaves for it. False when nothing is left.
bool findImageBytes(const DibBlock& dib, DWORD size, DWORD& imageBytes) {
    imageBytes = dibDword(dib, DibField::imageBytes);
    if (imageBytes != 0) {
        return true;
    }
    const DWORD headerSize = getDibHeaderSize(dib);
    std::uint64_t other = headerSize + colourBytes(dib) + maskBytes(dib);
    if (headerSize >= profileHeaderSize) {
        other += dibDword(dib, DibField::profileSize);
    }
    if (other > size) {
        return false;
    }
    imageBytes = static_cast<DWORD>(size - other);
    return writeField(dib, DibField::imageBytes, imageBytes);
}

} // namespace

WORD dibWord(const DibBlock& dib, std::size_t place) {
    return readField<WORD>(dib, place);
}

DWORD dibDword(const DibBlock& dib, std::size_t place) {
    return readField<DWORD>(dib, place);
}

LONG dibLong(const DibBlock& dib, std::size_t place) {
    return readField<LONG>(dib, place);
}

DWORD getDibHeaderSize(const DibBlock& dib) {
    const DWORD size = dibDword(dib, DibField::headerSize);
    switch (size) {
    case coreHeaderSize:
    case infoHeaderSize:
    case extendedHeaderSize:
    case profileHeaderSize:
        return size;
    default:
        return 0;
    }
}

DWORD getDibRowBytes(DWORD width, DWORD bitCount) {
    const std::uint64_t bytes = paddedRow(width, bitCount);
    return bytes <= longestRow ? static_cast<DWORD>(bytes) : 0;
}

DWORD getDibColourCount(const DibBlock& dib) {
    const bool info = dibDword(dib, DibField::headerSize) == infoHeaderSize;
    if (info) {
        if (const DWORD used = dibDword(dib, DibField::coloursUsed)) {
            return used;
        }
    }
    switch (dibWord(dib, info ? DibField::bitCount : DibField::coreBitCount)) {
    case 1:
        return 2;
    case 4:
        return 16;
    case 8:
        return 256;
    default:
        return 0;
    }
}

WORD getDibColourTableSize(const DibBlock& dib) {
    const bool info = dibDword(dib, DibField::headerSize) == infoHeaderSize;
    return static_cast<WORD>(getDibColourCount(dib) * (info ? sizeof(RGBQUAD) : sizeof(RGBTRIPLE)));
}

const BYTE* getDibPixels(const DibBlock& dib) {
    const std::uint64_t offset =
        std::uint64_t{dibDword(dib, DibField::headerSize)} + getDibColourTableSize(dib);
    return offset <= dib.size ? dib.start + offset : nullptr;
}

bool getDibDimensions(const DibBlock& dib, LONG* width, LONG* height) {
    const DWORD headerSize = getDibHeaderSize(dib);
    if (headerSize == 0) {
        return false;
    }
    const bool core = headerSize == coreHeaderSize;
    const std::uint64_t lines =
        core ? dibWord(dib, DibField::coreHeight) : absolute(dibLong(dib, DibField::height));
    if (lines > static_cast<std::uint64_t>(std::numeric_limits<LONG>::max())) {
        return false;
    }
    if (width) {
        *width = core ? dibWord(dib, DibField::coreWidth) : dibLong(dib, DibField::width);
    }
    if (height) {
        *height = static_cast<LONG>(lines);
    }
    return true;
}

DWORD getDibPixelOffset(const DibBlock& dib) {
    const DWORD headerSize = getDibHeaderSize(dib);
    if (headerSize == 0) {
        return 0;
    }
    std::uint64_t offset = headerSize + colourBytes(dib) + maskBytes(dib);
    if (headerSize >= profileHeaderSize && dibDword(dib, DibField::profileOffset) <= offset) {
        offset += dibDword(dib, DibField::profileSize);
    }
    return fitted(offset);
}

DWORD getDibTotalSize(const DibBlock& dib) {
    const DWORD headerSize = getDibHeaderSize(dib);
    if (headerSize == 0) {
        return 0;
    }
    const std::uint64_t front = headerSize + colourBytes(dib);
    if (headerSize == coreHeaderSize) {
        const DWORD rowBytes =
            getDibRowBytes(dibWord(dib, DibField::coreWidth), dibWord(dib, DibField::coreBitCount));
        return fitted(front + std::uint64_t{rowBytes} * dibWord(dib, DibField::coreHeight));
    }
    std::uint64_t imageBytes = dibDword(dib, DibField::imageBytes);
    if (imageBytes == 0) {
        const DWORD compression = dibDword(dib, DibField::compression);
        if (compression != BI_RGB && compression != BI_BITFIELDS) {
            return 0;
        }
        const std::uint64_t rowBytes =
            paddedRow(dibDword(dib, DibField::width), dibWord(dib, DibField::bitCount));
        if (rowBytes > longestRow) {
            return 0;
        }
        imageBytes = rowBytes * absolute(dibLong(dib, DibField::height));
    }
    std::uint64_t total = front + imageBytes + maskBytes(dib);
    if (headerSize >= profileHeaderSize) {
        const DWORD profile = dibDword(dib, DibField::profileOffset);
        total = (profile > total ? profile : total) + dibDword(dib, DibField::profileSize);
    }
    return fitted(total);
}

bool fixDibHeight(const DibBlock& dib, DWORD size, bool topDown) {
    const DWORD headerSize = getDibHeaderSize(dib);
    if (headerSize == 0) {
        return false;
    }
    if (headerSize == coreHeaderSize) {
        return dibWord(dib, DibField::coreHeight) != 0 || fixCoreHeight(dib, size);
    }
    if (dibLong(dib, DibField::height) != 0) {
        return true;
    }
    DWORD imageBytes = 0;
    if (!findImageBytes(dib, size, imageBytes)) {
        return false;
    }
    const DWORD rowBytes = getDibRowBytes(dibDword(dib, DibField::width), dibWord(dib, DibField::bitCount));
    if (rowBytes == 0) {
        return false;
    }
    const auto height = static_cast<LONG>(imageBytes / rowBytes);
    return writeField(dib, DibField::height, topDown ? -height : height);
}

bool makeBmpFileHeader(const DibBlock& dib, BITMAPFILEHEADER& fileHeader) {
    constexpr WORD bmpType = 19778; // the bytes "BM"
    const DWORD total = getDibTotalSize(dib);
    const DWORD offset = getDibPixelOffset(dib);
    const bool fits = total <= std::numeric_limits<DWORD>::max() - fileHeaderSize &&
                      offset <= std::numeric_limits<DWORD>::max() - fileHeaderSize;
    if (total == 0 || offset == 0 || !fits) {
        return false;
    }
    fileHeader.bfType = bmpType;
    fileHeader.bfSize = total + fileHeaderSize;
    fileHeader.bfReserved1 = 0;
    fileHeader.bfReserved2 = 0;
    fileHeader.bfOffBits = offset + fileHeaderSize;
    return true;
}

} // namespace DornImage
