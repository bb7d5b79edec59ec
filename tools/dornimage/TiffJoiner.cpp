#include "TiffJoiner.h"

#include <cstdint>
#include <tiffio.h>
#include <vector>

namespace {

// The tags of a page by the type of their values. Those of coding and layout come first, since a codec brings
// tags of its own along.
constexpr std::uint32_t numberTags32[] = {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_ROWSPERSTRIP};
constexpr std::uint32_t numberTags16[] = {
    TIFFTAG_COMPRESSION,  TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_PHOTOMETRIC,
    TIFFTAG_PLANARCONFIG, TIFFTAG_SAMPLEFORMAT,  TIFFTAG_FILLORDER,       TIFFTAG_PREDICTOR,
    TIFFTAG_ORIENTATION,  TIFFTAG_RESOLUTIONUNIT};
constexpr std::uint32_t fractionTags[] = {TIFFTAG_XRESOLUTION, TIFFTAG_YRESOLUTION};
constexpr std::uint32_t textTags[] = {
    TIFFTAG_DOCUMENTNAME, TIFFTAG_IMAGEDESCRIPTION, TIFFTAG_MAKE,   TIFFTAG_MODEL,        TIFFTAG_PAGENAME,
    TIFFTAG_SOFTWARE,     TIFFTAG_DATETIME,         TIFFTAG_ARTIST, TIFFTAG_HOSTCOMPUTER, TIFFTAG_COPYRIGHT};
constexpr std::uint32_t dataTags[] = {TIFFTAG_JPEGTABLES, TIFFTAG_ICCPROFILE, TIFFTAG_XMLPACKET,
                                      TIFFTAG_RICHTIFFIPTC, TIFFTAG_PHOTOSHOP};

template <class Value>
void copyTag(TIFF* in, TIFF* out, std::uint32_t tag) {
    Value value{};
    if (TIFFGetField(in, tag, &value)) {
        TIFFSetField(out, tag, value);
    }
}

template <class Value, std::size_t count>
void copyTags(TIFF* in, TIFF* out, const std::uint32_t (&tags)[count]) {
    for (const std::uint32_t tag : tags) {
        copyTag<Value>(in, out, tag);
    }
}

void copyAllTags(TIFF* in, TIFF* out) {
    copyTags<std::uint32_t>(in, out, numberTags32);
    copyTags<std::uint16_t>(in, out, numberTags16);
    copyTags<float>(in, out, fractionTags);
    copyTags<const char*>(in, out, textTags);
    for (const std::uint32_t tag : dataTags) {
        std::uint32_t count = 0;
        const void* data = nullptr;
        if (TIFFGetField(in, tag, &count, &data) && count > 0) {
            TIFFSetField(out, tag, count, data);
        }
    }
    std::uint16_t across = 0;
    std::uint16_t down = 0;
    if (TIFFGetField(in, TIFFTAG_YCBCRSUBSAMPLING, &across, &down)) {
        TIFFSetField(out, TIFFTAG_YCBCRSUBSAMPLING, across, down);
    }
    copyTag<const float*>(in, out, TIFFTAG_REFERENCEBLACKWHITE);
    std::uint16_t extraCount = 0;
    const std::uint16_t* extra = nullptr;
    if (TIFFGetField(in, TIFFTAG_EXTRASAMPLES, &extraCount, &extra)) {
        TIFFSetField(out, TIFFTAG_EXTRASAMPLES, extraCount, extra);
    }
    const std::uint16_t* red = nullptr;
    const std::uint16_t* green = nullptr;
    const std::uint16_t* blue = nullptr;
    if (TIFFGetField(in, TIFFTAG_COLORMAP, &red, &green, &blue)) {
        TIFFSetField(out, TIFFTAG_COLORMAP, red, green, blue);
    }
}

bool copyStrips(TIFF* in, TIFF* out) {
    std::vector<std::uint8_t> data;
    for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(in); ++strip) {
        data.resize(TIFFRawStripSize64(in, strip));
        const auto size = static_cast<tmsize_t>(data.size());
        if (TIFFReadRawStrip(in, strip, data.data(), size) != size ||
            TIFFWriteRawStrip(out, strip, data.data(), size) != size) {
            return false;
        }
    }
    return true;
}

} // namespace

void TiffJoiner::Close::operator()(tiff* file) const {
    TIFFClose(file);
}

TiffJoiner::TiffJoiner(const std::string& path) : out_(TIFFOpen(path.c_str(), "w")) {}

bool TiffJoiner::append(const std::string& pageFile) {
    const File in(TIFFOpen(pageFile.c_str(), "r"));
    if (!in || TIFFIsTiled(in.get())) {
        return false;
    }
    copyAllTags(in.get(), out_.get());
    TIFFSetField(out_.get(), TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(out_.get(), TIFFTAG_PAGENUMBER, pages_, 0); // 0: how many there will be isn't known
    if (!copyStrips(in.get(), out_.get()) || !TIFFWriteDirectory(out_.get())) {
        return false;
    }
    ++pages_;
    return true;
}
