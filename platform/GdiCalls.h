#ifndef DORNIMAGE_PLATFORM_GDICALLS_H
#define DORNIMAGE_PLATFORM_GDICALLS_H

#include "base/Export.h"
#include "platform/BitmapRecords.h"
#include "platform/Gdi.h"

#include <cstddef>

/* Bitmap handles, palettes and device contexts: the system's own on Windows. Elsewhere a bitmap handle is a
   picture in memory and a device context draws into the bitmap that is selected into it.

   A handle that is not, or no longer, an object's is answered with null, 0 or FALSE, and so is anything that
   these stand-ins don't offer: other colour tables than DIB_RGB_COLORS, compressed pixels, file mappings,
   headers smaller than BITMAPINFOHEADER. Depths are 1, 4, 8, 16, 24 and 32 bits, with colour masks
   (BI_BITFIELDS) at 16 and 32. Handles may be used from any thread; one object serves one thread at a time,
   except that several may read it. */
#ifndef _WIN32

/* The colour table of a BITMAPINFO holds colours. */
constexpr UINT DIB_RGB_COLORS = 0;
/* The stock palette of 20 fixed colours. */
constexpr int DEFAULT_PALETTE = 15;

/* A new bitmap of the header's size, depth and row order with its colour table, all pixels 0. `*bits`, if
   given, is set to its rows, each padded to 4 bytes, which live as long as the bitmap. The context doesn't
   matter. The caller gives the bitmap back with DeleteObject. */
DORNIMAGE_API HBITMAP CreateDIBSection(HDC dc, const BITMAPINFO* info, UINT usage, void** bits,
                                       HANDLE section, DWORD offset);
/* Stores a bitmap's BITMAP, or the number of a palette's entries as a WORD, in the `size` bytes at `object`;
   the bytes stored, or needed when `object` is null. 0 when `size` is too small. */
DORNIMAGE_API int GetObjectW(HGDIOBJ handle, int size, void* object);
/* Copies the scan lines from `start` on, `lines` of them, in the format and row order of `info`, and fills in
   the header's biSizeImage, its colour table or colour masks. Colours are converted on the way to 16, 24 and
   32 bits; 1, 4 and 8 bits come from bitmaps of the same depth. `lines` ends at the smaller of the two
   heights, rows at the smaller of the two widths. Without `bits` only the header is filled in, and with a
   biBitCount of 0, too, it is told the bitmap's own format without a colour table.
   The number of lines copied, or 1 when only the header was to be filled in. */
DORNIMAGE_API int GetDIBits(HDC dc, HBITMAP bitmap, UINT start, UINT lines, void* bits, BITMAPINFO* info,
                            UINT usage);
/* Copies up to `count` colours from `start` on of the bitmap that is selected into the context; how many. 0
   without a colour table. */
DORNIMAGE_API UINT GetDIBColorTable(HDC dc, UINT start, UINT count, RGBQUAD* colours);

/* A new context with a bitmap of one pixel and the default palette; DeleteDC gives it back. */
DORNIMAGE_API HDC CreateCompatibleDC(HDC dc);
DORNIMAGE_API BOOL DeleteDC(HDC dc);
/* The same for the screen, given back with ReleaseDC. */
DORNIMAGE_API HDC GetDC(HWND window);
DORNIMAGE_API int ReleaseDC(HWND window, HDC dc);
/* Makes the context draw into a bitmap, which may be in several contexts; the one that was there before. */
DORNIMAGE_API HGDIOBJ SelectObject(HDC dc, HGDIOBJ bitmap);
/* Gives a bitmap or palette back; contexts that have it selected keep it in use. Stock objects stay. */
DORNIMAGE_API BOOL DeleteObject(HGDIOBJ object);

/* A new palette; DeleteObject gives it back. */
DORNIMAGE_API HPALETTE CreatePalette(const LOGPALETTE* palette);
/* Copies up to `count` entries from `start` on; how many. Without `entries` the size of the palette. */
DORNIMAGE_API UINT GetPaletteEntries(HPALETTE palette, UINT start, UINT count, PALETTEENTRY* entries);
/* DEFAULT_PALETTE; null for other numbers. */
DORNIMAGE_API HGDIOBJ GetStockObject(int object);
/* Gives the context a palette; the one that it had before. */
DORNIMAGE_API HPALETTE SelectPalette(HDC dc, HPALETTE palette, BOOL inBackground);
/* Number of entries of the context's palette. Pixels are true colours or have a colour table of their own, so
   that nothing is mapped. */
DORNIMAGE_API UINT RealizePalette(HDC dc);

/* Copies a rectangle of a device-independent bitmap to the context, with its upper left corner at (`xTarget`,
   `yTarget`). `bits` holds `lines` scan lines from `startScan` on and ends, in any case, with the bitmap's
   last one. (`xSource`, `ySource`) is the lower left corner of the rectangle, counted from the bottom line,
   or, in a top-down bitmap, its upper left corner, counted from the top line. What lies outside of the lines
   given or the surface is left out. Surfaces with a colour table get the nearest colour. The number of scan
   lines given, whether they were seen or not. */
DORNIMAGE_API int SetDIBitsToDevice(HDC dc, int xTarget, int yTarget, DWORD width, DWORD height, int xSource,
                                    int ySource, UINT startScan, UINT lines, const void* bits,
                                    const BITMAPINFO* info, UINT usage);

namespace dornplatform {

/* A context that draws into memory of the caller's, such as a window's surface: top-down rows of 4 bytes a
   pixel, in the order blue, green, red, unused. `stride` is the distance of rows in bytes. The memory must
   stay until DeleteDC. Null for a size below 1 or a stride that is too small. */
DORNIMAGE_API HDC createSurfaceContext(void* pixels, LONG width, LONG height, std::size_t stride);

} // namespace dornplatform

#endif

#endif
