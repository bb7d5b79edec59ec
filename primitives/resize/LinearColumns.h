#ifndef DORNIMAGE_PRIMITIVES_RESIZE_LINEARCOLUMNS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_LINEARCOLUMNS_H

#include "primitives/resize/LinearKernels.h"
#include "primitives/resize/ResizeRun.h"

namespace primitives {

// Arranges the columns of a tile's interior for blocks of `block` samples, in what is left of a work buffer
// that ends at `bufferEnd`. `buffer` has at least 4 bytes a sample and two alignments left; windows are used
// when there is room for their tables too. Wants x.inner() above 0, and 1, 3 or 4 channels.
template <std::size_t channels>
LinearColumns makeLinearColumns(const ResizeSpan& x, std::size_t block, ResizeBuffer buffer,
                                const Ipp8u* bufferEnd);

} // namespace primitives

#endif
