#include "Thumbnail.h"

#include "OnWhite.h"

#include <algorithm>
#include <cmath>

namespace {

using Picture = DornImage::Reference<DornImage::Image>;

Picture pictureOf(FIBITMAP* bitmap) {
    Picture picture;
    if (bitmap) {
        picture = new dornbase::ReferencedImplMT<DornImage::Image>();
        picture->Attach(bitmap);
    }
    return picture;
}

// In depths that can be scaled smoothly: 8-bit grey, 24 or 32 bits. The picture itself where it is so
// already.
FIBITMAP* scalable(FIBITMAP* bitmap) {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(bitmap);
    const unsigned depth = FreeImage_GetBPP(bitmap);
    const FREE_IMAGE_COLOR_TYPE colours = FreeImage_GetColorType(bitmap);
    const bool grey = colours == FIC_MINISBLACK || colours == FIC_MINISWHITE;
    if (type == FIT_RGBA16) {
        return FreeImage_ConvertTo32Bits(bitmap);
    }
    if (type == FIT_UINT16 || (type == FIT_BITMAP && grey && !FreeImage_IsTransparent(bitmap))) {
        const bool ready = depth == 8 && colours == FIC_MINISBLACK;
        return ready ? bitmap : FreeImage_ConvertToGreyscale(bitmap);
    }
    if (type == FIT_RGB16 || (type == FIT_BITMAP && !FreeImage_IsTransparent(bitmap))) {
        return type == FIT_BITMAP && depth == 24 ? bitmap : FreeImage_ConvertTo24Bits(bitmap);
    }
    if (type == FIT_BITMAP) {
        return depth == 32 ? bitmap : FreeImage_ConvertTo32Bits(bitmap);
    }
    return nullptr;
}

// What the camera or scanner wrote about the picture is no matter of a small copy.
void removeMetadata(FIBITMAP* bitmap) {
    for (int model = FIMD_COMMENTS; model <= FIMD_EXIF_RAW; ++model) {
        FreeImage_SetMetadata(static_cast<FREE_IMAGE_MDMODEL>(model), bitmap, nullptr, nullptr);
    }
}

} // namespace

Picture thumbnailOf(DornImage::Image& image, unsigned longestSide) {
    FIBITMAP* const bitmap = image.getFIBTMAP();
    FIBITMAP* const colours = bitmap ? scalable(bitmap) : nullptr;
    if (!colours) {
        return {};
    }
    const Picture lent = pictureOf(colours);
    lent->SetBitmapOwner(colours != bitmap);

    int width = 0;
    int height = 0;
    image.GetNormalizedDimension(width, height);
    const double factor = std::min(1.0, static_cast<double>(longestSide) / std::max({width, height, 1}));
    const auto side = [factor](int length) {
        return static_cast<unsigned>(std::max(1L, std::lround(length * factor)));
    };
    Picture small;
    if (!lent->GetScaled(side(width), side(height), DornImage::Image::ScaleTypeLinear, small)) {
        // Of a shape that the primitives can't begin with, such as a single row.
        small = pictureOf(FreeImage_Rescale(colours, static_cast<int>(side(width)),
                                            static_cast<int>(side(height)), FILTER_BOX));
    }
    if (small && small->GetBpp() == 32) {
        small = pictureOf(onWhite(small->getFIBTMAP()));
    }
    if (small) {
        removeMetadata(small->getFIBTMAP());
    }
    return small;
}
