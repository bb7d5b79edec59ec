#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESOURCELOAD_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RESOURCELOAD_H

#include "base/Export.h"
#include "base/VelmoraException.h"
#include "platform/Resources.h"

#include <FreeImage.h>

namespace DornImage {

/// Decodes a resource of `module`, found by its type and name; both are texts, integer identifiers are not
/// supported. The caller owns the bitmap. On failure returns null, and `exception` holds what failed; the
/// codec's own messages are not captured here.
DORNIMAGE_API FIBITMAP* FreeImage_LoadFromResource(FREE_IMAGE_FORMAT format, HINSTANCE module,
                                                   const wchar_t* resourceType, const wchar_t* resourceName,
                                                   VelmoraException& exception);

} // namespace DornImage

#endif
