#include "Normalise.h"

#include "ExitCode.h"
#include "Text.h"

#include <new>

using DornImage::Image;
using DornImage::Reference;

namespace {

std::string kindOf(Image& page) {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(page.getFIBTMAP());
    return type == FIT_BITMAP ? countOf(page.GetBpp(), "bit") : pixelTypeName(type);
}

// Takes a conversion's result as an image with the resolution and metadata of `page`.
Reference<Image> converted(FIBITMAP* bitmap, Image& page) {
    Reference<Image> result(new dornbase::ReferencedImplMT<Image>());
    if (!bitmap) {
        throw std::bad_alloc();
    }
    result->Attach(bitmap);
    FreeImage_CloneMetadata(bitmap, page.getFIBTMAP());
    FreeImage_SetDotsPerMeterX(bitmap, FreeImage_GetDotsPerMeterX(page.getFIBTMAP()));
    FreeImage_SetDotsPerMeterY(bitmap, FreeImage_GetDotsPerMeterY(page.getFIBTMAP()));
    return result;
}

// Colours of 16 bits a channel, which can't be made grey at once, in 8 bits a channel; null for other kinds.
Reference<Image> withBytes(Image& page) {
    switch (FreeImage_GetImageType(page.getFIBTMAP())) {
    case FIT_RGB16:
        return converted(FreeImage_ConvertTo24Bits(page.getFIBTMAP()), page);
    case FIT_RGBA16:
        return converted(FreeImage_ConvertTo32Bits(page.getFIBTMAP()), page);
    default:
        return {};
    }
}

Reference<Image> onMiddleGrey(Image& page) {
    RGBQUAD grey = {128, 128, 128, 0};
    return converted(FreeImage_Composite(page.getFIBTMAP(), FALSE, &grey, nullptr), page);
}

bool isTransparent(Image& page) {
    const bool hasDepth = page.GetBpp() == 8 || page.GetBpp() == 32;
    return FreeImage_GetImageType(page.getFIBTMAP()) == FIT_BITMAP && hasDepth &&
           FreeImage_IsTransparent(page.getFIBTMAP()) != FALSE;
}

} // namespace

GreyImage normalised(Image& page, const std::string& file) {
    GreyImage result;
    const Reference<Image> bytes = withBytes(page);
    Image& source = bytes ? *bytes : page;
    const bool transparent = isTransparent(source);
    if (transparent || !page.IsGrayScale()) {
        result.from = kindOf(page);
    }
    const bool grey = transparent ? onMiddleGrey(source)->convertToGrayscale(result.image)
                                  : source.convertToGrayscale(result.image);
    if (!grey) {
        const FREE_IMAGE_TYPE type = FreeImage_GetImageType(source.getFIBTMAP());
        if (type == FIT_BITMAP || type == FIT_UINT16) {
            throw std::bad_alloc();
        }
        throw ToolError(ExitCode::input, file,
                        "a picture of the kind " + kindOf(page) + " cannot be made 8-bit grey");
    }
    return result;
}
