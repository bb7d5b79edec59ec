#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DIB_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DIB_H

#include "base/Export.h"
#include "platform/Gdi.h"
#include "platform/Stream.h"

#include <FreeImage.h>

// Pictures in the desktop system's forms: a device-independent bitmap (a header, a colour table and the
// pixels in one block, without a file header) in global memory or in a stream, and a bitmap handle. All
// conversions copy, answer null on failure, and don't trust what a header claims. Handles and streams must
// not be used by two threads at once.

namespace DornImage {

/// A new bitmap, which the caller unloads, from a block of global memory (HGLOBAL), which stays the caller's.
///
/// Width, height and bit count are read at the places of a BITMAPINFOHEADER, whatever the header's size. Rows
/// are taken to be padded to 4 bytes; compressed pixels are copied as they stand. A header of another size
/// than 40 gives no resolution: the bitmap gets 2835 dots per metre, as where the values are 0. Null for a
/// block that doesn't hold the pixels and colours that its header tells of.
DORNIMAGE_API FIBITMAP* FreeImage_ConvertFromDIB(void* dib);

/// A new bitmap, which the caller unloads, with the pixels and colours of a bitmap handle, at the handle's
/// own depth. `dc` is the device context that the system asks for.
DORNIMAGE_API FIBITMAP* FreeImage_ConvertFromHBITMAP(HBITMAP bitmap, HDC dc);

/// A new bitmap handle, which the caller deletes with DeleteObject. Null for what the system has no format
/// for, such as 48 bits.
DORNIMAGE_API HBITMAP FreeImage_ConvertToHBITMAP(FIBITMAP* bitmap, HDC dc);

/// As FreeImage_ConvertFromDIB, from the place where a stream stands, for as many bytes as its Stat tells,
/// below 4 GB. A height of 0 in the header is worked out from the size; the rows are top-down then, and
/// those that are not quite there are left blank.
DORNIMAGE_API FIBITMAP* FreeImage_ConvertFromMemoryBMP(IStream* stream);

} // namespace DornImage

/// A new block of global memory (HGLOBAL), which the caller frees with GlobalFree, with a BITMAPINFOHEADER,
/// the colours and the pixels of a bitmap handle at 1, 4, 8 or 24 bits. A null palette stands for the
/// system's default.
DORNIMAGE_API void* BitmapToDIB(HBITMAP bitmap, HPALETTE palette);

#endif
