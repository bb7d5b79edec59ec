#include "ImageProcessing/DornImage/ImageItem.h"

#include "ImageProcessing/DornImage/GuardedCall.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "ImageProcessing/DornImage/NewImage.h"
#include "base/Disk.h"
#include "base/Velmora.h"

#include <cstring>
#include <utility>

namespace DornImage {

namespace {

Velmora::u8string narrowName(const std::wstring& name) {
    Velmora::u8string narrow;
    Velmora::c_u16u8(narrow, name);
    return narrow;
}

struct Coding {
    FREE_IMAGE_FORMAT format;
    int flags;
};

Coding codingFor(unsigned bitsPerPixel, const Coding& wanted) {
    switch (bitsPerPixel) {
    case 1:
        return {FIF_TIFF, TIFF_CCITTFAX4};
    case 4:
        return {FIF_PNG, 0};
    case 8:
    case 24:
        return wanted.format == FIF_PNG || wanted.format == FIF_JPEG ? wanted : Coding{FIF_PNG, 0};
    case 16:
        return {FIF_BMP, 0};
    default:
        return {FIF_TIFF, TIFF_LZW};
    }
}

/* BMP keeps the bits of 16-bit grey pixels, but gives them back as 16-bit colour. */
FIBITMAP* restoredGrey16(FIBITMAP* bitmap, FREE_IMAGE_TYPE type) {
    FIBITMAP* const grey =
        ::FreeImage_AllocateT(type, static_cast<int>(::FreeImage_GetWidth(bitmap)),
                              static_cast<int>(::FreeImage_GetHeight(bitmap)), 16, 0, 0, 0);
    if (!grey) {
        return nullptr;
    }
    for (unsigned row = 0; row < ::FreeImage_GetHeight(bitmap); ++row) {
        std::memcpy(::FreeImage_GetScanLine(grey, static_cast<int>(row)),
                    ::FreeImage_GetScanLine(bitmap, static_cast<int>(row)), ::FreeImage_GetLine(bitmap));
    }
    ::FreeImage_SetDotsPerMeterX(grey, ::FreeImage_GetDotsPerMeterX(bitmap));
    ::FreeImage_SetDotsPerMeterY(grey, ::FreeImage_GetDotsPerMeterY(bitmap));
    return grey;
}

bool isGrey16(FREE_IMAGE_TYPE type) {
    return type == FIT_UINT16 || type == FIT_INT16;
}

} // namespace

ImageItem::ImageItem(const Reference<Image>& image_) : image(image_), format(FIF_UNKNOWN) {}

ImageItem::ImageItem(FREE_IMAGE_FORMAT format_, const std::wstring& path_) : path(path_), format(format_) {}

ImageItem::ImageItem(FREE_IMAGE_FORMAT format_, const std::wstring& path_, const Reference<Image>& image_)
    : path(path_), image(image_), format(format_) {}

Reference<Image> ImageItem::getImage() const {
    return image;
}

bool ImageItem::loadFromPath() {
    if (fileState && path == notedPath) {
        dornplatform::FileState present{};
        if (!dornplatform::getFileState(narrowName(path), present) || present != *fileState) {
            return false;
        }
    }
    FIBitmapPtr bitmap(guarded([&] { return loadNamedFile(format, narrowName(path), 0); }));
    const bool greyAsColour = bitmap.get() && isGrey16(pixelType) &&
                              ::FreeImage_GetImageType(bitmap.get()) == FIT_BITMAP &&
                              ::FreeImage_GetBPP(bitmap.get()) == 16;
    if (greyAsColour) {
        bitmap.attach(restoredGrey16(bitmap.get(), pixelType));
    }
    return storeNewImage<dornbase::ReferencedImpl<Image>>(bitmap.detach(), image);
}

bool ImageItem::saveToTemp(const std::wstring& directory, unsigned index, FREE_IMAGE_FORMAT wantedFormat,
                           int wantedFlags) {
    if (!image) {
        return false;
    }
    std::wstring tempPath;
    const Velmora::astring name(std::to_string(index));
    if (!dorndisk::createTempFile(directory, name, std::wstring(), tempPath)) {
        return false;
    }
    FIBITMAP* const bitmap = image->getFIBTMAP();
    const Coding coding = codingFor(::FreeImage_GetBPP(bitmap), {wantedFormat, wantedFlags});
    format = coding.format;
    if (!guarded([&] { return saveNamedFile(coding.format, bitmap, narrowName(tempPath), coding.flags); })) {
        return false;
    }
    pixelType = ::FreeImage_GetImageType(bitmap);
    path = std::move(tempPath);
    noteFile();
    image = nullptr;
    return true;
}

void ImageItem::noteFile() {
    dornplatform::FileState present{};
    fileState.reset();
    notedPath = path;
    if (dornplatform::getFileState(narrowName(path), present)) {
        fileState = present;
    }
}

void ImageItem::noteSameFile(const ImageItem& other) {
    pixelType = other.pixelType;
    noteFile();
    if (fileState && other.fileState) {
        // A file that had been cut before it was copied stays a cut one.
        fileState->size = other.fileState->size;
    }
}

} // namespace DornImage
