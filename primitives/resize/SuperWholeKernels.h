#ifndef DORNIMAGE_PRIMITIVES_RESIZE_SUPERWHOLEKERNELS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_SUPERWHOLEKERNELS_H

// The super-sampling method from bytes to bytes at whole ratios, where every weight is 1 and sums are
// integers. They are exact in single precision too, so that this gives the same pixels as SuperKernels.

#include "primitives/resize/SuperKernels.h"

namespace primitives {

// How many neighbouring source columns are summed at once when a destination pixel has `count` of them; 0
// when this kernel isn't for that ratio. With more than one channel multiples of 4 are summed by fours.
constexpr size_t superForm(size_t channels, size_t count) {
    if (count == 2 || count == 4) {
        return count;
    }
    return channels == 1 ? (count == 8 ? 8 : 0) : count % 4 == 0 ? 4 : 0;
}

// The most source pixels of a destination pixel: partial sums in 16 bits hold them.
constexpr size_t kSuperWholePixels = 256;

// Destination pixels that are made at once.
constexpr size_t superFormPixels(int variant, size_t channels) {
    const size_t blocks = variant == 7 ? 4 : variant >= 5 ? 2 : 1;
    return blocks * (channels == 1 ? 16 : 4);
}

// For variants 2 to 7.
template <int variant>
struct SuperWholeKernels {
    // A row of destination pixels, more than superFormPixels, with `count` source columns each.
    static void makeRow(const SuperRows& rows, size_t pixels, size_t count, size_t channels, float factor,
                        uint8_t* to);
};

} // namespace primitives

#endif
