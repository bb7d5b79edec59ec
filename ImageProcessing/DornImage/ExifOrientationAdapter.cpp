#include "ImageProcessing/DornImage/ExifOrientationAdapter.h"

#include "ImageProcessing/DornImage/SourceNames.h"
#include "ImageProcessing/DornImage/Tags.h"
#include "base/Log.h"

#include <algorithm>
#include <cstring>

namespace DornImage {
namespace {

using Flip = BOOL(DLL_CALLCONV*)(FIBITMAP*);

bool flip(Image& image, Flip mirror) {
    return mirror(image.getFIBTMAP()) != FALSE;
}

bool flippedClone(Image* image, Flip mirror, Reference<Image>& result) {
    Reference<Image> made;
    if (!image->GetClone(made) || !flip(*made, mirror)) {
        return false;
    }
    result = made;
    return true;
}

bool turnedAndFlipped(Image* image, int angle, Reference<Image>& result) {
    Reference<Image> made;
    if (!image->Rotate(angle, made) || !flip(*made, ::FreeImage_FlipVertical)) {
        return false;
    }
    result = made;
    return true;
}

bool flippedAndTurned(Image* image, int angle, Reference<Image>& result) {
    Reference<Image> mirrored;
    Reference<Image> made;
    if (!flippedClone(image, ::FreeImage_FlipVertical, mirrored) || !mirrored->Rotate(angle, made)) {
        return false;
    }
    result = made;
    return true;
}

/// Turns a picture back as it was stored under an orientation: each case undoes the same one of
/// ExifOrientationAdapter::rotateImage.
class ExifSaveAdapter final : public ImageSaveAdapter {
public:
    explicit ExifSaveAdapter(std::uint16_t orientation) : origOrient(orientation) {}

    bool apply(Image* image, Reference<Image>& result) override {
        if (::FreeImage_GetMetadataCount(FIMD_EXIF_MAIN, image->getFIBTMAP()) == 0) {
            return false;
        }
        switch (origOrient) {
        case 2:
            return flippedClone(image, ::FreeImage_FlipHorizontal, result);
        case 3:
            return image->Rotate(180, result);
        case 4:
            return flippedClone(image, ::FreeImage_FlipVertical, result);
        case 5:
            return flippedAndTurned(image, 270, result);
        case 6:
            return image->Rotate(90, result);
        case 7:
            return flippedAndTurned(image, 90, result);
        case 8:
            return image->Rotate(270, result);
        default:
            return false;
        }
    }

private:
    std::uint16_t origOrient;
};

// The tag's type and count are anybody's: missing bytes count as 0.
std::uint16_t valueOf(FITAG* tag) {
    std::uint16_t value = 0;
    if (const void* const stored = ::FreeImage_GetTagValue(tag)) {
        std::memcpy(&value, stored, std::min<std::size_t>(sizeof value, ::FreeImage_GetTagLength(tag)));
    }
    return value;
}

} // namespace

ExifOrientationAdapter::ExifOrientationAdapter() = default;
ExifOrientationAdapter::ExifOrientationAdapter(const ExifOrientationAdapter& other) = default;
ExifOrientationAdapter::ExifOrientationAdapter(ExifOrientationAdapter&& other) noexcept = default;
ExifOrientationAdapter& ExifOrientationAdapter::operator=(const ExifOrientationAdapter& other) = default;
ExifOrientationAdapter& ExifOrientationAdapter::operator=(ExifOrientationAdapter&& other) noexcept = default;

ImageLoadAdapter::AdapterStatus ExifOrientationAdapter::apply(Image* image, Reference<Image>& result) {
    FIBITMAP* const bitmap = image->getFIBTMAP();
    FITAG* tag = nullptr;
    if (::FreeImage_GetMetadataCount(FIMD_EXIF_MAIN, bitmap) == 0 ||
        !::FreeImage_GetMetadata(FIMD_EXIF_MAIN, bitmap, "Orientation", &tag)) {
        return AdapterNotApplied;
    }
    origOrient = valueOf(tag);
    if (origOrient < 1 || origOrient > 8) {
        dornutils::getSystemLogFormater()->writeMessage(0, "Incorrect orientation", exifAdapterSource,
                                                        lineOf());
        return AdapterNotApplied;
    }
    return rotateImage(static_cast<short>(origOrient), image, result);
}

ImageLoadAdapter::AdapterStatus ExifOrientationAdapter::rotateImage(short orientation, Image* image,
                                                                    Reference<Image>& result) {
    bool turned = false;
    switch (orientation) {
    case 2:
        turned = flippedClone(image, ::FreeImage_FlipHorizontal, result);
        break;
    case 3:
        turned = image->Rotate(180, result);
        break;
    case 4:
        turned = flippedClone(image, ::FreeImage_FlipVertical, result);
        break;
    case 5:
        turned = turnedAndFlipped(image, 90, result);
        break;
    case 6:
        turned = image->Rotate(270, result);
        break;
    case 7:
        turned = turnedAndFlipped(image, 270, result);
        break;
    case 8:
        turned = image->Rotate(90, result);
        break;
    default:
        return AdapterNotApplied;
    }
    return turned ? AdapterApplied : AdapterFailed;
}

bool ExifOrientationAdapter::createSaveAdapter(std::shared_ptr<ImageSaveAdapter>& adapter) {
    adapter = std::make_shared<ExifSaveAdapter>(origOrient);
    return true;
}

std::uint16_t ExifOrientationAdapter::getOrigOrient() const {
    return origOrient;
}

bool ExifOrientationAdapter::updateExifOrientation(FIBITMAP* bitmap) {
    return FreeImage_SetTagValue(FIMD_EXIF_MAIN, bitmap, "Orientation", 1);
}

} // namespace DornImage
