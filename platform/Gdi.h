#ifndef DORNIMAGE_PLATFORM_GDI_H
#define DORNIMAGE_PLATFORM_GDI_H

/// Handles of the desktop system's drawing layer, under the system's own names. Elsewhere they are opaque
/// pointers of distinct types.

#ifdef _WIN32
#include <windows.h>
#else
struct HBITMAP__;
struct HDC__;
struct HPALETTE__;
using HBITMAP = HBITMAP__*;
using HDC = HDC__*;
using HPALETTE = HPALETTE__*;
#endif

#endif
