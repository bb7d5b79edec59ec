#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ROTATION_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ROTATION_H

#include <FreeImage.h>

/// A new bitmap of the size of `src` with the picture turned by `angle` degrees about a point in pixels,
/// counted along the stored lines; bilinear samples, edge pixels repeated outwards, metadata cloned. Stored
/// lines go from the bottom up, so positive angles turn clockwise on the screen. The caller unloads the
/// result. Null for a null bitmap, a depth other than 8 and 24 bits, a picture one pixel wide or high,
/// numbers too large for the arithmetic, or when memory runs out.
///
/// An 8-bit bitmap is turned as plain numbers, and the result has a grey ramp palette.
FIBITMAP* ippiRotateBitmap(FIBITMAP* src, double angle, double xCenter, double yCenter);

#endif
