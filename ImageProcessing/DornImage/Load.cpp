#include "ImageProcessing/DornImage/Load.h"

#include "ImageProcessing/DornImage/GuardedCall.h"
#include "ImageProcessing/DornImage/NamedFile.h"
#include "ImageProcessing/DornImage/NewImage.h"

namespace DornImage {

bool loadImage(const Velmora::u8string& fileName, Reference<Image>& image) {
    FREE_IMAGE_FORMAT format = namedFileContentFormat(fileName);
    if (format == FIF_UNKNOWN) {
        format = namedFileExtensionFormat(fileName);
    }
    if (format == FIF_UNKNOWN || !::FreeImage_FIFSupportsReading(format)) {
        return false;
    }
    return storeNewImage(guarded([&] { return loadNamedFile(format, fileName, 0); }), image);
}

} // namespace DornImage
