#ifndef DORNIMAGE_TOOLS_DORNIMAGE_BLANKPICTURE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_BLANKPICTURE_H

#include "BlankMeasure.h"

/// Draws the page as it was measured, paler, under the detector's grid: in each cell stands its share in
/// percent, on red that is the deeper the higher the share. A thick frame marks the small cell that decided,
/// green on an empty page, amber when unsure, red with content; it is drawn a little larger than the cell.
/// @return a 24-bit picture that the caller unloads. Throws std::bad_alloc.
FIBITMAP* drawBlank(const BlankPage& page, const BlankMeasure& measure);

#endif
