#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_NEWIMAGE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_NEWIMAGE_H

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"

namespace DornImage {

/// Stores a new image of the final class `Counted` around `bitmap` in `result`. A null bitmap answers false
/// and leaves `result` alone. The bitmap is unloaded when the image can't be made.
template <class Counted = dornbase::ReferencedImplMT<Image>>
bool storeNewImage(FIBITMAP* bitmap, Reference<Image>& result) {
    if (!bitmap) {
        return false;
    }
    FIBitmapPtr holder(bitmap);
    Image* image = new Counted();
    result = image;
    image->Attach(holder.detach());
    return true;
}

} // namespace DornImage

#endif
