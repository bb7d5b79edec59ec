#ifndef DORNIMAGE_PRIMITIVES_RESIZE_TAPKERNELS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_TAPKERNELS_H

// The vector work on rows of the methods with four and six taps on an axis, in single precision: sums of
// pixels times weights along source rows, and of the rows of such sums. A sample is one channel of one pixel;
// samples of a row are counted through.

#include <stddef.h>
#include <stdint.h>

namespace primitives {

// How many taps, and in which order the products are added, with p the values and w their weights:
// - cubic: ((p0 w0 + p1 w1) + p2 w2) + p3 w3, each step rounded; from variant 5 on
//   fma(p0, w0, p1 w1) + fma(p2, w2, p3 w3)
// - lanczos2, lanczos3: from left to right, each step rounded; from variant 5 on p0 w0 and then fused
//   operations
// - edge4: along rows ((p0 w0 + p3 w3) + p1 w1) + p2 w2, down columns from left to right, each step rounded
// - edge6: from left to right, each step rounded
enum class TapForm { cubic, lanczos2, lanczos3, edge4, edge6 };

constexpr int tapCount(TapForm form) {
    return form == TapForm::lanczos3 || form == TapForm::edge6 ? 6 : 4;
}

constexpr size_t kMostTaps = 6;

// Samples that a variant computes at once.
constexpr size_t tapBlock(int variant) {
    return variant == 7 ? 16 : variant >= 5 ? 8 : 4;
}

// Whether a variant has byte shuffles, without which windows cost more than they save.
constexpr bool tapWindows(int variant) {
    return variant >= 2;
}

// Samples whose bytes come from one window: the closer pixels lie together, the more.
constexpr size_t kTapWidestGroup = 16;
constexpr size_t kTapWideGroup = 8;
constexpr size_t kTapGroup = 4;

// The most samples of a row that are worked on at a time: the rows of the ring and the tables, 4 bytes a
// sample for each tap and 4 more, stay in the nearest cache from row to row.
constexpr size_t kTapSamples = 1024;
constexpr size_t tapSamples(int taps) {
    return taps == 4 ? kTapSamples : kTapSamples * 3 / 4;
}

// Rows of sums begin on multiples of this, and may be written up to the next one.
constexpr size_t kTapRowAlignment = 32;

// Neighbouring columns of a tile. Samples come in blocks, the last of which overlaps the one before when
// there are enough samples, and is filled up else.
struct TapColumns {
    size_t pixels;
    size_t samples;
    size_t channels;
    const float* weights; // of each block: those of the first tap, those of the second and so on

    // Where the bytes of neighbouring samples lie close together, those of the first tap are taken from a
    // window of the source row for each group of samples: it begins at byte starts[i] of the row. For the
    // second tap it lies a pixel further on. `numbers` has four bytes a sample: the byte's number in the
    // window and three that give 0. Elsewhere `group` is 0, and the bytes are gathered, tap by tap.
    size_t group;
    const int32_t* starts;
    const uint8_t* numbers;

    const int32_t* index; // the first tap of pixel i is index[i] - shift, kept between low and high;
    size_t split;         // from pixel `split` on it is index[i + gap] - shift
    ptrdiff_t gap;
    int32_t shift;
    int32_t low;
    int32_t high;
    uint8_t* gathered; // kTapSamples bytes for each tap
};

// One destination row, and the weights of the rows that it is made of. The same columns of the row `next` are
// fetched into the caches; it may lie outside the image.
struct TapTarget {
    uint8_t* to;
    const uint8_t* next;
    const float* weights;
};

// The most rows that are made at once from the same source rows.
constexpr int kTapTargets = 2;

template <int variant>
struct TapKernels {
    // The horizontal pass on the source row whose pixel 0 is `row`. The row `next` is fetched into the
    // caches; it may lie outside the image.
    static void filterRow(TapForm form, const uint8_t* row, const uint8_t* next, const TapColumns& columns,
                          float* to);
    // The vertical pass, for 1 to kTapTargets rows, with sums of less than 2^31. Each of `rows` can be read
    // up to the next multiple of a block.
    static void blendRows(TapForm form, const float* const* rows, size_t samples, const TapTarget* targets,
                          int count);
    // The same for one row and sums of any size.
    static void blendLargeRow(TapForm form, const float* const* rows, size_t samples, TapTarget target);
};

} // namespace primitives

#endif
