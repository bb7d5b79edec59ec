#ifndef DORNIMAGE_PLATFORM_GDI_H
#define DORNIMAGE_PLATFORM_GDI_H

#include "platform/Types.h"

/// Handles of the desktop system's drawing layer, under the system's own names. Elsewhere they are opaque
/// pointers of distinct types. The calls that take them are in platform/GdiCalls.h.

#ifndef _WIN32

struct HBITMAP__;
struct HDC__;
struct HPALETTE__;
struct HWND__;

/// A bitmap, a device context, a palette and a window.
using HBITMAP = HBITMAP__*;
using HDC = HDC__*;
using HPALETTE = HPALETTE__*;
using HWND = HWND__*;

/// Any of HBITMAP and HPALETTE.
using HGDIOBJ = void*;

/// A rectangle in pixels.
struct RECT {
    LONG left;   ///< first column
    LONG top;    ///< first line
    LONG right;  ///< one past the last column
    LONG bottom; ///< one past the last line
};

#endif

#endif
