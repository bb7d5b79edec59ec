#include "PageHeader.h"

#include <memory>
#include <tiffio.h>

namespace {

struct CloseTiff {
    void operator()(TIFF* file) const { TIFFClose(file); }
};

std::optional<int> flagOf(std::uint16_t coding) {
    switch (coding) {
    case COMPRESSION_NONE:
        return TIFF_NONE;
    case COMPRESSION_PACKBITS:
        return TIFF_PACKBITS;
    case COMPRESSION_LZW:
        return TIFF_LZW;
    case COMPRESSION_DEFLATE:
        return TIFF_DEFLATE;
    case COMPRESSION_ADOBE_DEFLATE:
        return TIFF_ADOBE_DEFLATE;
    case COMPRESSION_CCITTFAX3:
        return TIFF_CCITTFAX3;
    case COMPRESSION_CCITTFAX4:
        return TIFF_CCITTFAX4;
    case COMPRESSION_OJPEG:
    case COMPRESSION_JPEG:
        return TIFF_JPEG;
    default:
        return std::nullopt;
    }
}

void readTiff(const std::string& file, int page, PageHeader& header) {
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFOpen(file.c_str(), "r"));
    // The numbers of directories have 16 bits.
    if (!tiff || page > 65535 || !TIFFSetDirectory(tiff.get(), static_cast<std::uint16_t>(page - 1))) {
        return;
    }
    std::uint16_t coding = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_COMPRESSION, &coding);
    header.tiffCoding = flagOf(coding);
    // Fax coding of group 3 and old JPEG coding have tags of their own beside the data.
    header.joinable = header.tiffCoding && coding != COMPRESSION_OJPEG && coding != COMPRESSION_CCITTFAX3 &&
                      !TIFFIsTiled(tiff.get());
}

} // namespace

PageHeader headerOf(Source& source, int page, CodecMessages& messages) {
    PageHeader header{source.sizeOf(page), {}, false};
    if (source.format() == FIF_TIFF) {
        readTiff(source.name(), page, header);
        messages.take(); // the decoder says it again
    }
    return header;
}
