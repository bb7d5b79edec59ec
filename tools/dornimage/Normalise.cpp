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

Reference<Image> onMiddleGrey(Image& page) {
    RGBQUAD grey = {128, 128, 128, 0};
    FIBITMAP* const bitmap = FreeImage_Composite(page.getFIBTMAP(), FALSE, &grey, nullptr);
    if (!bitmap) {
        throw std::bad_alloc();
    }
    FreeImage_CloneMetadata(bitmap, page.getFIBTMAP());
    FreeImage_SetDotsPerMeterX(bitmap, FreeImage_GetDotsPerMeterX(page.getFIBTMAP()));
    FreeImage_SetDotsPerMeterY(bitmap, FreeImage_GetDotsPerMeterY(page.getFIBTMAP()));
    const Reference<Image> result(new dornbase::ReferencedImplMT<Image>());
    result->Attach(bitmap);
    return result;
}

} // namespace

GreyImage normalised(Image& page, const std::string& file) {
    GreyImage result;
    FIBITMAP* const bitmap = page.getFIBTMAP();
    const bool hasDepth = page.GetBpp() == 8 || page.GetBpp() == 32;
    const bool transparent =
        FreeImage_GetImageType(bitmap) == FIT_BITMAP && hasDepth && FreeImage_IsTransparent(bitmap) != FALSE;
    if (transparent || !page.IsGrayScale()) {
        result.from = kindOf(page);
    }
    const bool converted = transparent ? onMiddleGrey(page)->convertToGrayscale(result.image)
                                       : page.convertToGrayscale(result.image);
    if (!converted) {
        throw ToolError(ExitCode::input, file,
                        "a picture of the kind " + kindOf(page) + " cannot be made 8-bit grey");
    }
    return result;
}
