#ifndef DORNIMAGE_PRIMITIVES_RESIZE_SUPERKERNELS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_SUPERKERNELS_H

// The vector work of the super-sampling method. Sums go down the source columns first, then along the rows;
// every sum is in single precision and takes its terms in the order of the source pixels, so that all ways
// through these kernels give the same bits. A sample is one channel of one pixel.
//
// Along a row, vectors lie across something that is summed alike: with three or four channels across those of
// a pixel, with one channel across several rows, which are interleaved for that.

#include <stddef.h>
#include <stdint.h>

namespace primitives {

// Rows of one channel that are summed along at once.
constexpr size_t superLanes(int variant) {
    return variant >= 5 ? 8 : 4;
}

// Elements behind rows of sums that kernels may read, and overwrite in those that they write.
constexpr size_t kSuperMargin = 64;

// The most rows of bytes whose sums fit 16 bits with their sign.
constexpr size_t kSuperWholeRows = 0x7FFF / 255;

// The source rows below one destination row, and their weights.
struct SuperRows {
    const uint8_t* from;
    ptrdiff_t step;
    const float* weights; // null when all are 1 and 16 bits hold their sums, as for kSuperWholeRows of them
    size_t count;         // at least 1
    bool sharesFirst;     // the first is the last one below the destination row above
};

// The source columns below consecutive destination pixels, and their weights.
struct SuperColumns {
    size_t pixels;         // destination pixels
    const int32_t* starts; // the first source column of each
    int32_t origin;        // the source column that the sums at hand begin with
    size_t count;          // source columns of each destination pixel, at least 1
    const float* weights;  // of the first pixel; those of the next lie `stride` further, and
    size_t stride;
    const float* period; // those behind the last of a period are the first ones again
    const float* periodEnd;
    bool continues; // the first columns have been summed before
};

template <int variant>
struct SuperKernels {
    // Sums `samples` columns of samples for `rowCount` destination rows, whose sums lie `step` elements
    // apart.
    static void sumRows(const SuperRows* rows, size_t rowCount, size_t samples, float* to, size_t step);
    // Brings element i of row k, for superLanes(variant) rows with a distance of `step` elements, to element
    // superLanes(variant) * i + k.
    static void interleave(const float* rows, size_t step, size_t count, float* to);
    // The other way for bytes, which come to `at` in each of the first `rowCount` rows. May read fifteen
    // pixels more.
    static void deal(const uint8_t* from, size_t pixels, uint8_t* const* rows, size_t rowCount, size_t at);
    // Sums along rows of `channels` samples a pixel, superLanes(variant) interleaved rows for 1.
    static void sumColumns(const SuperColumns& columns, size_t channels, const float* sums, float* to);
    // Sums to pixels: times `factor`, rounded to the nearest.
    static void finish(const float* sums, size_t samples, float factor, uint8_t* to);
    static void copy(const uint8_t* from, size_t bytes, uint8_t* to);
};

} // namespace primitives

#endif
