// From a device-independent bitmap, a block of bytes that anybody may have filled, to a FreeImage bitmap.

#include "ImageProcessing/DornImage/Dib.h"
#include "ImageProcessing/DornImage/DibHeader.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "platform/GlobalMemory.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace DornImage {

namespace {

static_assert(offsetof(RGBQUAD, rgbBlue) == 0 && offsetof(RGBQUAD, rgbRed) == 2,
              "colours in blocks lie as FreeImage keeps them");

constexpr unsigned defaultDotsPerMetre = 2835;
constexpr std::size_t smallestBlock = 16;
constexpr ULONG streamChunk = 0x10000;

/// What the header tells that has to be known before a bitmap is made.
struct Header {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t bitCount = 0;
    /// 0 unless the bit count had to be worked out.
    std::uint64_t mostColours = 0;
};

bool readHeader(const DibBlock& dib, Header& header) {
    header.width = dibLong(dib, DibField::width);
    header.height = dibLong(dib, DibField::height);
    header.bitCount = dibWord(dib, DibField::bitCount);
    if (header.width == 0 || header.height == 0 || header.width == std::numeric_limits<LONG>::min() ||
        header.height == std::numeric_limits<LONG>::min()) {
        return false;
    }
    const std::int64_t imageBytes = dibDword(dib, DibField::imageBytes);
    if (header.bitCount == 0 && imageBytes != 0) {
        header.bitCount = imageBytes / header.height * 8 / header.width;
        // Whatever comes out, FreeImage makes a bitmap of it. Counts that can't be shifted by set no limit.
        if (header.bitCount != 0) {
            const bool isShift = header.bitCount > 0 && header.bitCount < 32;
            header.mostColours = std::uint64_t{1} << (isShift ? header.bitCount : 32);
        }
    }
    return true;
}

/// The nearest number that FreeImage can be given.
int intOf(std::int64_t number) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<std::int64_t>(number, Limits::min(), Limits::max()));
}

/// The depth of the bitmap that FreeImage allocates when it is asked for a bit count.
unsigned allocatedDepth(std::int64_t bitCount) {
    switch (bitCount) {
    case 1:
    case 4:
    case 16:
    case 24:
    case 32:
        return static_cast<unsigned>(bitCount);
    default:
        return 8;
    }
}

/// Whether the block holds the pixels, but for `missing` bytes at the end; asked before any memory is taken.
bool holdsPixels(const DibBlock& dib, const Header& header, std::size_t missing) {
    const BYTE* const pixels = getDibPixels(dib);
    if (!pixels) {
        return false;
    }
    const std::uint64_t rowBytes =
        getDibRowBytes(static_cast<DWORD>(std::abs(header.width)), allocatedDepth(header.bitCount));
    const std::uint64_t held = dib.size - static_cast<std::size_t>(pixels - dib.start);
    return rowBytes != 0 && rowBytes * static_cast<std::uint64_t>(std::abs(header.height)) <= held + missing;
}

/// Dots per metre where the block tells them.
unsigned resolution(const DibBlock& dib, std::size_t place) {
    const DWORD dots = getDibHeaderSize(dib) == infoHeaderSize ? dibDword(dib, place) : 0;
    return dots != 0 ? dots : defaultDotsPerMetre;
}

/// Copies the colours as far as the bitmap has a palette, and what the header tells of them; false when the
/// block doesn't hold them.
bool copyColours(const DibBlock& dib, std::uint64_t mostColours, FIBITMAP* bitmap) {
    std::uint64_t colours = static_cast<WORD>(getDibColourCount(dib));
    if (mostColours != 0) {
        colours = std::min(colours, mostColours);
    }
    const bool info = getDibHeaderSize(dib) == infoHeaderSize;
    const std::size_t place = info ? infoHeaderSize : coreHeaderSize;
    const std::size_t entry = info ? sizeof(RGBQUAD) : sizeof(RGBTRIPLE);
    // Before biClrUsed is set, which tells FreeImage how long the palette is.
    const std::uint64_t palette = ::FreeImage_GetColorsUsed(bitmap);
    const std::size_t copied = static_cast<std::size_t>(std::min(colours, palette));
    if (copied > 0 && (place > dib.size || (dib.size - place) / entry < copied)) {
        return false;
    }
    RGBQUAD* const target = ::FreeImage_GetPalette(bitmap);
    for (std::size_t i = 0; i < copied; ++i) {
        const BYTE* const source = dib.start + place + i * entry;
        target[i] = RGBQUAD{source[0], source[1], source[2], 0};
    }
    if (info) {
        BITMAPINFOHEADER& header = *::FreeImage_GetInfoHeader(bitmap);
        if (const DWORD important = dibDword(dib, DibField::coloursImportant)) {
            header.biClrImportant = important;
        }
        // FreeImage looks for the pixels behind as many colours as this. Never above the palette that was
        // allocated, and set before the pixels come, it only makes them begin earlier in the same memory.
        const DWORD used = dibDword(dib, DibField::coloursUsed);
        if (used != 0 && used <= colours && used <= palette) {
            header.biClrUsed = used;
        }
    }
    return true;
}

/// Copies the rows; what the block lacks at its end stays as it is.
void copyPixels(const DibBlock& dib, bool topDown, FIBITMAP* bitmap) {
    const std::size_t pitch = ::FreeImage_GetPitch(bitmap);
    const std::size_t height = ::FreeImage_GetHeight(bitmap);
    const BYTE* const pixels = getDibPixels(dib);
    const std::size_t held = dib.size - static_cast<std::size_t>(pixels - dib.start);
    BYTE* const bits = ::FreeImage_GetBits(bitmap);
    if (!topDown) {
        std::memcpy(bits, pixels, std::min(held, pitch * height));
        return;
    }
    for (std::size_t y = 0; y < height; ++y) {
        const std::size_t from = (height - 1 - y) * pitch;
        if (from < held) {
            std::memcpy(bits + y * pitch, pixels + from, std::min(pitch, held - from));
        }
    }
}

/// A new bitmap, or null. `missing` bytes may lack at the end of the pixels.
FIBITMAP* convertDib(const DibBlock& dib, std::size_t missing) {
    Header header;
    if (dib.size < smallestBlock || !readHeader(dib, header) || !holdsPixels(dib, header, missing)) {
        return nullptr;
    }
    FIBitmapPtr bitmap(::FreeImage_Allocate(static_cast<int>(header.width),
                                            static_cast<int>(std::abs(header.height)), intOf(header.bitCount),
                                            0, 0, 0));
    if (!bitmap.get() || ::FreeImage_GetBPP(bitmap.get()) != allocatedDepth(header.bitCount)) {
        return nullptr;
    }
    ::FreeImage_SetDotsPerMeterX(bitmap.get(), resolution(dib, DibField::dotsPerMetreX));
    ::FreeImage_SetDotsPerMeterY(bitmap.get(), resolution(dib, DibField::dotsPerMetreY));
    if (!copyColours(dib, header.mostColours, bitmap.get())) {
        return nullptr;
    }
    copyPixels(dib, header.height < 0, bitmap.get());
    return bitmap.detach();
}

/// A locked block of global memory.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL memory)
        : memory_(memory), dib_{static_cast<BYTE*>(::GlobalLock(memory)), ::GlobalSize(memory)} {}
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;
    ~LockedBlock() {
        if (dib_.start) {
            ::GlobalUnlock(memory_);
        }
    }

    const DibBlock& dib() const { return dib_; }

private:
    HGLOBAL memory_;
    DibBlock dib_;
};

FIBITMAP* convertGlobal(HGLOBAL memory, std::size_t missing) {
    const LockedBlock block(memory);
    return block.dib().start ? convertDib(block.dib(), missing) : nullptr;
}

/// Reads `size` bytes from the place where the stream stands; false when it hasn't as many.
bool readStream(IStream& stream, BYTE* target, DWORD size) {
    std::array<BYTE, streamChunk> chunk;
    for (DWORD done = 0; done < size;) {
        const ULONG wanted = std::min<ULONG>(streamChunk, size - done);
        ULONG got = 0;
        if (FAILED(stream.Read(chunk.data(), wanted, &got)) || got == 0 || got > wanted) {
            return false;
        }
        std::memcpy(target + done, chunk.data(), got);
        done += got;
    }
    return true;
}

class GlobalBlock {
public:
    explicit GlobalBlock(SIZE_T size) : memory_(::GlobalAlloc(GMEM_FIXED, size)) {}
    GlobalBlock(const GlobalBlock&) = delete;
    GlobalBlock& operator=(const GlobalBlock&) = delete;
    ~GlobalBlock() {
        if (memory_) {
            ::GlobalFree(memory_);
        }
    }

    HGLOBAL get() const { return memory_; }

private:
    HGLOBAL memory_;
};

} // namespace

FIBITMAP* FreeImage_ConvertFromDIB(void* dib) {
    return convertGlobal(dib, 0);
}

FIBITMAP* FreeImage_ConvertFromMemoryBMP(IStream* stream) {
    STATSTG stat{};
    if (!stream || FAILED(stream->Stat(&stat, STATFLAG_NONAME)) || stat.cbSize.HighPart != 0) {
        return nullptr;
    }
    const DWORD size = stat.cbSize.LowPart;
    const GlobalBlock memory(size);
    if (!memory.get()) {
        return nullptr;
    }
    bool heightFound = false;
    {
        const LockedBlock block(memory.get());
        if (!block.dib().start || !readStream(*stream, block.dib().start, size)) {
            return nullptr;
        }
        const DibBlock dib{block.dib().start, size};
        const bool missesHeight =
            dibLong(dib, DibField::height) == 0 && dibDword(dib, DibField::imageBytes) == 0;
        // The rules for a height want the size of a whole file. Near 4 GB there is no such number.
        if (size <= std::numeric_limits<DWORD>::max() - fileHeaderSize) {
            fixDibHeight(dib, size + fileHeaderSize, true);
        }
        heightFound = missesHeight && dibLong(dib, DibField::height) != 0;
    }
    // A height that was worked out counts the file header, which isn't there, among the pixels.
    return convertGlobal(memory.get(), heightFound ? fileHeaderSize : 0);
}

} // namespace DornImage
