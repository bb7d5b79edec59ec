#include "FaxCoder.h"

#include <algorithm>
#include <memory>
#include <tiffio.h>

namespace {

// A TIFF file in memory, for writing.
class MemoryFile {
public:
    TIFF* open() {
        return TIFFClientOpen(
            "page", "w", this, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
            [](thandle_t file, void* data, tmsize_t size) -> tmsize_t {
                return of(file)->write(static_cast<const unsigned char*>(data), size);
            },
            [](thandle_t file, toff_t offset, int origin) -> toff_t {
                return of(file)->seek(offset, origin);
            },
            [](thandle_t) -> int { return 0; },
            [](thandle_t file) -> toff_t { return of(file)->bytes_.size(); }, nullptr, nullptr);
    }

    std::vector<unsigned char> part(std::uint64_t offset, std::uint64_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            return {};
        }
        const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
        return {first, first + static_cast<std::ptrdiff_t>(size)};
    }

private:
    static MemoryFile* of(thandle_t file) { return static_cast<MemoryFile*>(file); }

    // An exception would have to cross the codec: 0 says that nothing could be written.
    tmsize_t write(const unsigned char* data, tmsize_t size) noexcept try {
        const auto count = static_cast<std::size_t>(size);
        bytes_.resize(std::max(bytes_.size(), position_ + count));
        std::copy_n(data, count, bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
        position_ += count;
        return size;
    } catch (const std::bad_alloc&) {
        return 0;
    }

    toff_t seek(toff_t offset, int origin) {
        const std::size_t from = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? position_ : bytes_.size();
        return position_ = from + offset;
    }

    std::vector<unsigned char> bytes_;
    std::size_t position_ = 0;
};

} // namespace

std::vector<unsigned char> codeFax(FIBITMAP* bitmap) {
    const unsigned height = FreeImage_GetHeight(bitmap);
    MemoryFile memory;
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(memory.open(), TIFFClose);
    if (!tiff) {
        return {};
    }
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, FreeImage_GetWidth(bitmap));
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, height);
    for (unsigned row = 0; row < height; ++row) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, static_cast<int>(height - 1 - row));
        if (TIFFWriteScanline(tiff.get(), line, row) != 1) {
            return {};
        }
    }
    if (!TIFFFlushData(tiff.get())) {
        return {};
    }
    return memory.part(TIFFGetStrileOffset(tiff.get(), 0), TIFFGetStrileByteCount(tiff.get(), 0));
}
