#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZE_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZE_H

/* The resize methods. Valid in C. */

#include "primitives/resize/ResizeCubic.h"
#include "primitives/resize/ResizeLanczos.h"
#include "primitives/resize/ResizeLinear.h"
#include "primitives/resize/ResizeSpec.h"
#include "primitives/resize/ResizeSuper.h"

#endif
