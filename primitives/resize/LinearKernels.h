#ifndef DORNIMAGE_PRIMITIVES_RESIZE_LINEARKERNELS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_LINEARKERNELS_H

// The vector work of the linear method on rows. A sample is one channel of one pixel; samples of a row are
// counted through.
//
// Fixed form. With neighbours a and b and a weight f of 14 bits, the horizontal pass gives
//     (a * (16384 - f) + b * f + 128) >> 8  =  64 a + (((b - a) * f + 128) >> 8)
// where the last term is the rounded high product of 64 (a - b) and -2 f: both fit 16 bits, also for f =
// 16384. The vertical pass on such samples A and B with the weight g gives
//     (A * (16384 - g) + B * g + 524288) >> 20  =  (A + (((B - A) * g) >> 14) + 32) >> 6
// because the floor of a sum with an integer is the sum with the floor. Its inner term is the high product of
// 2 (A - B) and -2 g, and the outer step the rounded high product with 512. So both passes stay in 16-bit
// lanes, and give every bit of the sums in 32 bits.

#include <stddef.h>
#include <stdint.h>

namespace primitives {

// Samples whose neighbours come from one window: where pixels lie close together 16, else 8.
constexpr size_t kLinearWideGroup = 16;
constexpr size_t kLinearGroup = 8;

// Samples that a variant computes at once.
constexpr size_t linearBlock(int variant) {
    return variant == 7 ? 32 : variant >= 5 ? 16 : 8;
}

// The columns of a tile's interior in the fixed form. Where the neighbours of each group of samples lie close
// together, `starts` and `numbers` tell how to take them from one window of the source row: the window begins
// at byte starts[i] of the row, and the neighbours of sample j of that group are its bytes numbers[2 j] and
// numbers[2 j + 1]. There are groups for whole blocks of samples, the last of which may overlap the one
// before. Elsewhere `starts` is null, and the neighbours are gathered in `pairs`.
struct LinearColumns {
    size_t pixels;
    size_t samples;
    size_t channels;
    const int32_t* index;   // the left neighbour of each pixel, in source pixels
    const int16_t* weights; // -2 f for each sample
    size_t group;           // samples of a window
    const int32_t* starts;
    const uint8_t* numbers;
    uint8_t* pairs; // room for two bytes a sample
};

// One destination row.
struct LinearTarget {
    uint8_t* to;
    int16_t weight; // -2 g
};

// The most rows that are made at once from the same two source rows.
constexpr int kLinearTargets = 2;

template <int variant>
struct LinearKernels {
    // The horizontal pass on the source row whose pixel 0 is `row`.
    static void filterRow(const uint8_t* row, const LinearColumns& columns, int16_t* to);
    // The vertical pass, for 1 to kLinearTargets rows.
    static void blendRows(const int16_t* upper, const int16_t* lower, size_t samples,
                          const LinearTarget* targets, int count);
};

// The same in single precision: a + (b - a) * t, each step rounded. For variants 0 and 1.
template <int variant>
struct LinearFloatKernels {
    static void filterRow(const uint8_t* row, const int32_t* index, const float* fractions, size_t pixels,
                          size_t channels, float* to);
    static void blendRow(const float* upper, const float* lower, size_t samples, float fraction, uint8_t* to);
};

} // namespace primitives

#endif
