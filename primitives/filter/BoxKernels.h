#ifndef DORNIMAGE_PRIMITIVES_FILTER_BOXKERNELS_H
#define DORNIMAGE_PRIMITIVES_FILTER_BOXKERNELS_H

// The vector work of the box filter on one row. A column sum is the sum of the pixels of one column over the
// mask's rows; from one row of the image to the next it gains the pixel that enters the mask and loses the
// one that leaves it. A window sum is the sum of as many neighbouring column sums as the mask is wide.

#include <stddef.h>
#include <stdint.h>

namespace primitives {

// Column sums, dealt out to `count` planes in turn: element e is element e / count of plane e % count. So the
// bytes of a wide lane come apart by shifts, and the way back is by shifts too, without any lane crossing a
// register.
template <typename SumType, size_t count>
struct BoxColumns {
    using Sum = SumType;
    static constexpr size_t planes = count;

    Sum* sums;
    size_t stride; // elements from plane to plane
};

// For masks of few rows: the difference of two column sums fits a signed 16-bit lane.
using BoxNarrowColumns = BoxColumns<uint16_t, 2>;
constexpr int kBoxNarrowHeight = 32767 / 255;

// For taller masks, as long as window sums stay below 2^31.
using BoxWideColumns = BoxColumns<uint32_t, 4>;

// The same one by one, for images too small for vectors and masks of more than that.
using BoxPlainColumns = BoxColumns<uint32_t, 1>;
using BoxTallColumns = BoxColumns<uint64_t, 1>;

// The vector forms read and write whole blocks of this many elements, from a multiple of it on.
constexpr size_t kBoxBlock = 64;

// Where the windows of a row lie among the column sums.
struct BoxWindows {
    size_t before;     // the element in front of the first window
    size_t maskWidth;  // elements in a window
    size_t count;      // windows, pixels of the row
    uint64_t startSum; // of the `maskWidth` elements from `before` on
    float recip;       // of the mask's area
};

template <int variant>
struct BoxKernels {
    // Adds the `count` pixels of `entering` to the sums from element `from` on, and takes off those of
    // `leaving` unless that is null.
    static void moveColumns(BoxNarrowColumns columns, size_t from, const uint8_t* entering,
                            const uint8_t* leaving, size_t count);
    static void moveColumns(BoxWideColumns columns, size_t from, const uint8_t* entering,
                            const uint8_t* leaving, size_t count);
    static void moveColumns(BoxPlainColumns columns, size_t from, const uint8_t* entering,
                            const uint8_t* leaving, size_t count);
    static void moveColumns(BoxTallColumns columns, size_t from, const uint8_t* entering,
                            const uint8_t* leaving, size_t count);

    // Writes the means of a row's windows from a running sum.
    static void writeMeans(BoxNarrowColumns columns, const BoxWindows& windows, uint8_t* to);
    static void writeMeans(BoxWideColumns columns, const BoxWindows& windows, uint8_t* to);
    static void writeMeans(BoxPlainColumns columns, const BoxWindows& windows, uint8_t* to);
    static void writeMeans(BoxTallColumns columns, const BoxWindows& windows, uint8_t* to);

    // The same for masks of 3 x 3, 5 x 5 and 7 x 7, whose window sums fit 16 bits: they are added up
    // directly.
    static void writeSmallMeans(BoxNarrowColumns columns, const BoxWindows& windows, uint8_t* to);
};

} // namespace primitives

#endif
