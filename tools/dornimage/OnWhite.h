#ifndef DORNIMAGE_TOOLS_DORNIMAGE_ONWHITE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_ONWHITE_H

#include <FreeImage.h>

/// The picture of up to 32 bits in 24-bit colour as it looks on white paper where it is transparent: a bitmap
/// that the caller unloads. Null when memory is short.
FIBITMAP* onWhite(FIBITMAP* bitmap);

#endif
