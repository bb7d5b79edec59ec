#ifndef DORNIMAGE_PRIMITIVES_FILTER_BOXBUFFER_H
#define DORNIMAGE_PRIMITIVES_FILTER_BOXBUFFER_H

// The work buffer of the box filter: how large it is said to be, and what lies in it.

#include <cstddef>
#include <cstdint>

#include "primitives/core/Types.h"

namespace primitives {

constexpr std::int64_t kBoxBufferLimit = std::int64_t{1} << 31;

// The size that callers are told for samples of `bytes` bytes; kBoxBufferLimit or more when there is none.
std::int64_t boxBufferSize(IppiSize roi, IppiSize mask, std::int64_t bytes, std::int64_t channels);

// Where image and mask lie, in columns and rows of the image.
struct BoxGeometry {
    std::int64_t width;
    std::int64_t height;
    std::int64_t maskWidth;
    std::int64_t maskHeight;
    std::int64_t anchorX;     // columns of the mask to the left of its pixel
    std::int64_t anchorY;     // rows above
    std::int64_t firstColumn; // the columns that exist in memory, those beside the image included
    std::int64_t columnCount;

    // Columns below the masks of one row of pixels.
    std::int64_t reach() const { return width + maskWidth - 1; }
    std::int64_t maskRight() const { return maskWidth - 1 - anchorX; }
    std::int64_t maskBelow() const { return maskHeight - 1 - anchorY; }
    // The column in front of the leftmost mask.
    std::int64_t columnBefore() const { return -anchorX - 1; }
};

// `memory` has the bits of ippBorderInMemLeft and its kind.
BoxGeometry makeBoxGeometry(IppiSize roi, IppiSize mask, std::uint32_t memory);

// How column sums are kept and window sums are taken; see BoxKernels.h.
enum class BoxMethod { small, narrow, wide, plain, tall };

// What the filter keeps in its buffer, all in bytes from the buffer's start unless told otherwise.
struct BoxLayout {
    BoxMethod method;
    std::size_t alignment;    // the buffer's start is rounded up to a multiple of it
    std::size_t columnStride; // elements from plane to plane
    std::size_t columnFrom;   // element of the first column in memory
    std::size_t columnBytes;  // the column sums come first
    std::size_t constantRow;  // a row of the border value, `reach` bytes
    std::size_t keptRows;     // rows of an image that is filtered in place: columnCount bytes each
    std::int64_t keptRowCount;
    std::size_t end; // never beyond boxBufferSize, also when alignment takes all that it can
};

// Wants arguments that boxBufferSize accepts for one channel of single bytes.
BoxLayout makeBoxLayout(const BoxGeometry& geometry, bool hasConstantRows, bool inPlace);

} // namespace primitives

#endif
