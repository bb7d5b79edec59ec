#include "PageFacts.h"

#include "Text.h"

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

std::string colourName(FREE_IMAGE_COLOR_TYPE colour) {
    switch (colour) {
    case FIC_MINISWHITE:
        return "min-is-white";
    case FIC_MINISBLACK:
        return "min-is-black";
    case FIC_RGB:
        return "rgb";
    case FIC_PALETTE:
        return "palette";
    case FIC_RGBALPHA:
        return "rgb-alpha";
    case FIC_CMYK:
        return "cmyk";
    }
    return "unknown";
}

std::string paletteKind(FIBITMAP* bitmap) {
    const RGBQUAD* const palette = FreeImage_GetPalette(bitmap);
    const unsigned entries = FreeImage_GetColorsUsed(bitmap);
    if (!palette || entries == 0) {
        return "none";
    }
    if (DornImage::FreeImage_IsGrayScale(bitmap)) {
        return "grey ramp";
    }
    bool ascending = entries > 1;
    bool descending = entries > 1;
    for (unsigned i = 0; i < entries; ++i) {
        const RGBQUAD& entry = palette[i];
        if (entry.rgbRed != entry.rgbGreen || entry.rgbGreen != entry.rgbBlue) {
            return "colour";
        }
        const unsigned level = entries > 1 ? i * 255 / (entries - 1) : 0;
        ascending = ascending && entry.rgbRed == level;
        descending = descending && entry.rgbRed == 255 - level;
    }
    return ascending ? "grey ramp" : descending ? "inverted grey ramp" : "grey";
}

std::vector<std::pair<std::string, unsigned>> metadataCounts(FIBITMAP* bitmap) {
    constexpr std::pair<FREE_IMAGE_MDMODEL, const char*> models[] = {
        {FIMD_COMMENTS, "comments"},
        {FIMD_EXIF_MAIN, "exif-main"},
        {FIMD_EXIF_EXIF, "exif-exif"},
        {FIMD_EXIF_GPS, "exif-gps"},
        {FIMD_EXIF_MAKERNOTE, "exif-makernote"},
        {FIMD_EXIF_INTEROP, "exif-interop"},
        {FIMD_EXIF_RAW, "exif-raw"},
        {FIMD_IPTC, "iptc"},
        {FIMD_XMP, "xmp"},
        {FIMD_GEOTIFF, "geotiff"},
        {FIMD_ANIMATION, "animation"},
        {FIMD_CUSTOM, "custom"},
    };
    std::vector<std::pair<std::string, unsigned>> counts;
    for (const auto& [model, name] : models) {
        if (const unsigned count = FreeImage_GetMetadataCount(model, bitmap); count > 0) {
            counts.emplace_back(name, count);
        }
    }
    return counts;
}

} // namespace

std::optional<int> exifOrientation(FIBITMAP* bitmap) {
    FITAG* tag = nullptr;
    if (!FreeImage_GetMetadata(FIMD_EXIF_MAIN, bitmap, "Orientation", &tag) || !tag ||
        FreeImage_GetTagType(tag) != FIDT_SHORT || FreeImage_GetTagLength(tag) < sizeof(std::uint16_t)) {
        return std::nullopt;
    }
    std::uint16_t value = 0;
    std::memcpy(&value, FreeImage_GetTagValue(tag), sizeof(value));
    return value;
}

PageFacts factsOf(DornImage::Image& image) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    PageFacts facts;
    facts.width = image.GetWidth();
    facts.height = image.GetHeight();
    facts.depth = image.GetBpp();
    facts.pixelType = pixelTypeName(FreeImage_GetImageType(bitmap));
    facts.colour = colourName(FreeImage_GetColorType(bitmap));
    facts.palette = paletteKind(bitmap);
    facts.paletteEntries = facts.palette == "none" ? 0 : FreeImage_GetColorsUsed(bitmap);
    facts.transparent = FreeImage_IsTransparent(bitmap) != FALSE;
    facts.dotsPerMetreX = FreeImage_GetDotsPerMeterX(bitmap);
    facts.dotsPerMetreY = FreeImage_GetDotsPerMeterY(bitmap);
    image.GetNormalizedDimension(facts.normalisedWidth, facts.normalisedHeight);
    facts.orientation = exifOrientation(bitmap);
    facts.metadata = metadataCounts(bitmap);
    return facts;
}

double dotsPerInch(unsigned dotsPerMetre) {
    constexpr double metresPerInch = 0.0254;
    const double exact = dotsPerMetre * metresPerInch;
    // FreeImage's codecs both round and cut to whole dots per metre.
    const bool whole = std::abs(std::round(exact) - exact) < metresPerInch;
    return whole ? std::round(exact) : std::round(exact * 100) / 100;
}
