#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPPLAIN_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPPLAIN_H

// One pixel at a time, for any source and any position.

#include "primitives/warp/WarpKernels.h"

namespace primitives {

// The pixel at position (x, y) of the source. A neighbour outside is `outside`, or the nearest edge pixel
// when that is null.
void plainWarpPixel(const WarpSource& source, int channels, double x, double y, const Ipp8u* outside,
                    Ipp8u* to);

} // namespace primitives

#endif
