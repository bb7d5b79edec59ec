#include "ImageProcessing/DornImage/Tags.h"

#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/SourceNames.h"
#include "base/Log.h"

namespace DornImage {

bool FreeImage_SetTagValue(FREE_IMAGE_MDMODEL model, FIBITMAP* bitmap, const char* key,
                           unsigned short value) {
    FITagPtr tag;
    const bool filled = tag.Create() && tag.SetTagKey(key) && tag.SetTagType(FIDT_SHORT) &&
                        tag.SetTagCount(1) && tag.SetTagLength(sizeof value) && tag.SetTagValue(&value);
    if (!filled) {
        return false;
    }
    const char* tagKey = ::FreeImage_GetTagKey(tag.Get());
    if (!tagKey) {
        dornutils::getSystemLogFormater()->writeMessage(0, "Tag does not exists", freeImageUtilsSource,
                                                        lineOf());
        return false;
    }
    return ::FreeImage_SetMetadata(model, bitmap, tagKey, tag.Get());
}

} // namespace DornImage
