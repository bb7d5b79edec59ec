#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SKEWPICTURE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SKEWPICTURE_H

#include "SkewMeasure.h"

#include <FreeImage.h>

/// Draws what was measured: the page with red lines in the measured direction, each where it touches most
/// upper edges of its stretch of the page, beside the scores of all directions with the measured one in red.
/// A page without an angle gets no lines.
/// @return a 24-bit picture that the caller unloads. Throws std::bad_alloc.
FIBITMAP* drawSkew(const SkewMeasure& measure);

#endif
