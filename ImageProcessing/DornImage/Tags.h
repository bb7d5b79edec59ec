#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TAGS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_TAGS_H

#include "base/Export.h"

#include <FreeImage.h>

namespace DornImage {

/// Sets a tag of one unsigned 16-bit value in the bitmap's metadata and replaces one of the same key there.
/// Not FreeImage's function of the same name, which fills a single tag.
/// @return false when the bitmap or the key is null or FreeImage refuses a step.
DORNIMAGE_API bool FreeImage_SetTagValue(FREE_IMAGE_MDMODEL model, FIBITMAP* bitmap, const char* key,
                                         unsigned short value);

} // namespace DornImage

#endif
