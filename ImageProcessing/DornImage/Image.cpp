#include "ImageProcessing/DornImage/Image.h"

#include "ImageProcessing/DornImage/Formats.h"
#include "ImageProcessing/DornImage/GrayScale.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "ImageProcessing/DornImage/NewImage.h"

#include <cstdint>

namespace DornImage {

Image::Image() noexcept : bitmap(nullptr), ownsBitmap(true) {}

Image::Image(Image&& source) noexcept
    : ReferencedObject(), bitmap(source.bitmap), ownsBitmap(source.ownsBitmap) {
    source.bitmap = nullptr;
}

Image& Image::operator=(Image&& source) noexcept {
    bitmap = source.bitmap;
    ownsBitmap = source.ownsBitmap;
    source.bitmap = nullptr;
    return *this;
}

Image::~Image() {
    Image::Reset();
}

void Image::Reset() {
    if (!bitmap) {
        return;
    }
    if (ownsBitmap) {
        ::FreeImage_Unload(bitmap);
    }
    ownsBitmap = true;
    bitmap = nullptr;
}

void Image::Attach(FIBITMAP* newBitmap) {
    Reset();
    bitmap = newBitmap;
    ownsBitmap = true;
}

FIBITMAP* Image::Dettach() {
    FIBITMAP* held = bitmap;
    bitmap = nullptr;
    return held;
}

void Image::SetBitmapOwner(bool owner) {
    ownsBitmap = owner;
}

FIBITMAP* Image::getFIBTMAP() {
    return bitmap;
}

unsigned Image::GetWidth() const {
    return ::FreeImage_GetWidth(bitmap);
}

unsigned Image::GetHeight() const {
    return ::FreeImage_GetHeight(bitmap);
}

unsigned Image::GetBpp() const {
    return ::FreeImage_GetBPP(bitmap);
}

unsigned Image::GetRawDataSize() const {
    return bitmap ? ::FreeImage_GetHeight(bitmap) * ::FreeImage_GetPitch(bitmap) : 0;
}

bool Image::IsGrayScale() {
    return FreeImage_IsGrayScale(bitmap);
}

bool Image::GetClone(Reference<Image>& result) {
    return bitmap && storeNewImage(::FreeImage_Clone(bitmap), result);
}

bool Image::convertTo24Bits(Reference<Image>& result) {
    return bitmap && storeNewImage(::FreeImage_ConvertTo24Bits(bitmap), result);
}

bool Image::convertTo8Bits(Reference<Image>& result) {
    return bitmap && storeNewImage(::FreeImage_ConvertTo8Bits(bitmap), result);
}

bool Image::convertToGrayscale(Reference<Image>& result) {
    return bitmap && storeNewImage(::FreeImage_ConvertToGreyscale(bitmap), result);
}

bool Image::GetNormalizedDimension(int& width, int& height) {
    if (!bitmap) {
        return false;
    }
    width = static_cast<int>(::FreeImage_GetWidth(bitmap));
    height = static_cast<int>(::FreeImage_GetHeight(bitmap));
    const std::int64_t x = ::FreeImage_GetDotsPerMeterX(bitmap);
    const std::int64_t y = ::FreeImage_GetDotsPerMeterY(bitmap);
    if (x == 0 || y == 0 || x == y) {
        return true;
    }
    if (x > y) {
        height = static_cast<int>(x * height / y);
    } else {
        width = static_cast<int>(y * width / x);
    }
    return true;
}

namespace {

// Codecs that an application has registered need not declare what they write.
bool suits(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap) {
    return format > FIF_JXR ||
           FreeImage_CanSave(format, ::FreeImage_GetImageType(bitmap), ::FreeImage_GetBPP(bitmap));
}

bool save(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, const Velmora::u8string& fileName, int flags) {
    return bitmap && suits(format, bitmap) && saveNamedFile(format, bitmap, fileName, flags);
}

int saveFlags(FREE_IMAGE_FORMAT format, unsigned bitsPerPixel) {
    if (format != FIF_TIFF) {
        return 0;
    }
    switch (bitsPerPixel) {
    case 1:
        return TIFF_CCITTFAX4;
    case 8:
    case 24:
        return TIFF_JPEG;
    default:
        return 0;
    }
}

} // namespace

bool Image::Save(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName, int flags) {
    return save(format, bitmap, fileName, flags);
}

bool Image::Save(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName) {
    return save(format, bitmap, fileName, saveFlags(format, GetBpp()));
}

} // namespace DornImage
