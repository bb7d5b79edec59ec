#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_NAMEDFILE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_NAMEDFILE_H

#include "base/Velmora.h"

#include <FreeImage.h>

namespace DornImage {

// FreeImage's calls on named files, for names in UTF-8. Where FreeImage has wide calls the name goes to them
// as UTF-16. Elsewhere those compile and do nothing, and the narrow calls get the bytes of the name
// unchanged, so that a name which isn't valid UTF-8 still reaches its file.

/// The format that the file's content tells, FIF_UNKNOWN when it tells none or can't be read.
FREE_IMAGE_FORMAT namedFileContentFormat(const Velmora::u8string& fileName);

/// The format of the name's extension, or FIF_UNKNOWN.
FREE_IMAGE_FORMAT namedFileExtensionFormat(const Velmora::u8string& fileName);

/// The decoded file, owned by the caller, or null.
FIBITMAP* loadNamedFile(FREE_IMAGE_FORMAT format, const Velmora::u8string& fileName, int flags);

/// Whether the bitmap was written, to the last byte. FreeImage_CanSave tells what is safe to hand to a codec.
bool saveNamedFile(FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, const Velmora::u8string& fileName, int flags);

} // namespace DornImage

#endif
