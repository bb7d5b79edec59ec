#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_PRIMITIVEBLOCK_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_PRIMITIVEBLOCK_H

#include "primitives/primitives.h"

#include <memory>

namespace DornImage {

struct FreePrimitiveBlock {
    void operator()(Ipp8u* block) const { ippsFree(block); }
};

/// Owns memory that ippsMalloc_8u gave.
using PrimitiveBlock = std::unique_ptr<Ipp8u, FreePrimitiveBlock>;

} // namespace DornImage

#endif
