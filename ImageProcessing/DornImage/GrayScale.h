#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GRAYSCALE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_GRAYSCALE_H

#include "base/Export.h"

#include <FreeImage.h>

namespace DornImage {

/// Whether the pixel values of an 8-bit bitmap are grey levels as they stand: its palette is the ascending
/// ramp in blue, green and red, or it has none. A descending ramp, another depth and null answer false.
DORNIMAGE_API bool FreeImage_IsGrayScale(FIBITMAP* bitmap);

} // namespace DornImage

#endif
