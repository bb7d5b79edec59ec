#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RAWPIXELS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_RAWPIXELS_H

#include "base/Export.h"
#include "primitives/core/Types.h"

#include <FreeImage.h>

// Pixels between FreeImage bitmaps and plain buffers, as scanners and PDF writers use them: rows from top to
// bottom without padding, colours as red, green, blue. A bitmap must not be written by two threads at once.
//
// What copies into a bitmap takes its size and depth as they are. False, the bitmap being untouched, for a
// null pointer, a size of 0, another depth, and a size in bytes that doesn't fit the bitmap.

namespace DornImage {

/// Fills a 1-bit bitmap. The rows have `size` / height bytes, which must come out even and be no more than
/// the bitmap's pitch; what they don't reach of a scan line stays. The highest bit is the leftmost pixel.
DORNIMAGE_API bool FreeImage_Copy1(FIBITMAP* bitmap, const char* data, unsigned long size);

/// Fills an 8-bit bitmap from width x height bytes.
DORNIMAGE_API bool FreeImage_Copy8(FIBITMAP* bitmap, const char* data, unsigned long size);

/// Fills a 24-bit bitmap from width x height x 3 bytes.
DORNIMAGE_API bool FreeImage_Copy24RGB(FIBITMAP* bitmap, const char* data, unsigned long size);

/// Copies a bitmap's pixels to `data`: width x height x 3 bytes at 24 bits, width x height bytes else. 8 bits
/// come as they are, so that those of a palette are indices; 1 bit becomes a byte of 0 or 255 for a bit of 0
/// or 1, whatever their colours: bring min-is-white to grey first. False for other depths and null.
DORNIMAGE_API bool FreeImage_GetDataForPDF(FIBITMAP* bitmap, unsigned char* data);

/// Gives the first two palette entries of `target` the colours of the 1-bit bitmap `source`. False when
/// `target` has no palette of two entries, or `source` isn't black, white or of a palette.
DORNIMAGE_API bool FreeImage_SetMonoChromePalete(FIBITMAP* source, FIBITMAP* target);

/// Sets the first palette entries of a 1- or 8-bit bitmap from red, green, blue triples, `size` bytes in all:
/// a multiple of 3 that the palette has room for. The entries behind stay.
DORNIMAGE_API bool FreeImage_SetPalette24(FIBITMAP* bitmap, const unsigned char* palette, unsigned long size);

} // namespace DornImage

/// Writes an 8-bit buffer of the primitives to a JPEG file, for looking at it. The rows keep their order in
/// memory: the first one is the bottom line of the picture.
/// @param step distance between rows in bytes.
DORNIMAGE_API bool ippSave8u(unsigned char* data, int step, IppiSize size, const wchar_t* path);

#endif
