#ifndef DORNIMAGE_PRIMITIVES_PRIMITIVES_H
#define DORNIMAGE_PRIMITIVES_PRIMITIVES_H

/* The pixel primitives: vectorised arithmetic on 8-bit images, with C linkage.
   Valid as C11 and as C++17. Every entry point runs the implementation that suits the processor at hand;
   primitives/core/Frame.h tells how that one is chosen, and how to pin another. */

#include "primitives/core/Frame.h"
#include "primitives/core/Memory.h"
#include "primitives/core/Types.h"
#include "primitives/filter/FilterBox.h"
#include "primitives/filter/FilterGaussian.h"
#include "primitives/resize/Resize.h"
#include "primitives/warp/WarpAffine.h"

#endif
