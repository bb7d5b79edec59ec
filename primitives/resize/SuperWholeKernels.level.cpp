#include "primitives/resize/SuperWholeKernels.h"

#include "primitives/resize/SuperFinish.inl"

#if DORN_VARIANT >= 2

namespace primitives::DORN_LEVEL_NAMESPACE {

// A window is 16 bytes of a source row, of which 12 count with three channels. By two, and with one channel,
// it holds the source columns of whole destination pixels; by four with more channels, four columns of one. A
// vector has one window in each block of 128 bits, and as many vectors as `form` make one of pixels: their
// windows take turns, which finishInTurn undoes.

template <size_t channels>
constexpr size_t kWindowBytes = channels == 3 ? 12 : 16;

struct BlockNumbers {
    uint8_t at[16];
};

// Brings the bytes of a window to pairs of neighbouring pixels; by four, both pairs of a channel follow each
// other.
template <size_t channels, size_t form>
constexpr BlockNumbers makeWindowNumbers() {
    BlockNumbers numbers{};
    for (size_t i = 0; i < 16; ++i) {
        const size_t pixel = form == 2 ? i / 2 / channels * 2 + i % 2 : i % 4;
        const size_t channel = form == 2 ? i / 2 % channels : i / 4;
        const size_t sample = pixel * channels + channel;
        numbers.at[i] = static_cast<uint8_t>(sample < kWindowBytes<channels> ? sample : 0);
    }
    return numbers;
}

// With three channels each half, or each quarter, of a block ends with bytes that are none.
template <size_t form>
constexpr BlockNumbers makePackedNumbers() {
    constexpr size_t given = form == 2 ? 8 : 4;
    constexpr size_t used = given / 4 * 3;
    BlockNumbers numbers{};
    for (size_t i = 0; i < 12; ++i) {
        numbers.at[i] = static_cast<uint8_t>(i / used * given + i % used);
    }
    return numbers;
}

DORN_INLINE VecU8 loadNumbers(const BlockNumbers& numbers) {
    constexpr int32_t same[4] = {};
    return loadBlocks<VecU8>(numbers.at, same);
}

struct Windows {
    size_t repeats;     // windows next to each other that one destination pixel takes
    size_t distance;    // between the windows of neighbouring pixels, in bytes
    int32_t offsets[4]; // of the windows in a vector
};

// The sums divided by four, to the nearest and to the even one of two: what the product in single precision
// gives.
DORN_INLINE VecI16 quarters(VecI16 sums) {
    const VecI16 one = splat<VecI16>(1);
    return (sums + one + ((sums >> 2) & one)) >> 2;
}

template <size_t channels, size_t form>
DORN_INLINE VecU8 makeWholePixels(const SuperRows& rows, const uint8_t* from, const Windows& windows,
                                  VecU8 numbers, NarrowF32 factor) {
    const VecI8 ones = splat<VecI8>(1);
    const VecI16 wideOnes = splat<VecI16>(1);
    VecI16 sums[form];
#pragma GCC unroll 8
    for (size_t i = 0; i < form; ++i) {
        sums[i] = zero<VecI16>();
    }
    for (size_t row = 0; row < rows.count; ++row, from += rows.step) {
        const uint8_t* line = from;
        for (size_t repeat = 0; repeat < windows.repeats; ++repeat, line += kWindowBytes<channels>) {
#pragma GCC unroll 8
            for (size_t i = 0; i < form; ++i) {
                VecU8 bytes = loadBlocks<VecU8>(line + i * windows.distance, windows.offsets);
                if constexpr (channels > 1) {
                    bytes = lookupBlocks(bytes, numbers);
                }
                sums[i] += mulPairs(bytes, ones);
            }
        }
    }
    NarrowF32 results[4];
    if constexpr (form == 2) {
        if (rows.count == 2) {
            return demoteBlocks<VecU8>(quarters(sums[0]), quarters(sums[1]));
        }
        results[0] = toFloat(promoteLowerBlocks<NarrowI32>(sums[0]));
        results[1] = toFloat(promoteUpperBlocks<NarrowI32>(sums[0]));
        results[2] = toFloat(promoteLowerBlocks<NarrowI32>(sums[1]));
        results[3] = toFloat(promoteUpperBlocks<NarrowI32>(sums[1]));
    } else {
#pragma GCC unroll 4
        for (size_t i = 0; i < 4; ++i) {
            if constexpr (form == 4) {
                results[i] = toFloat(mulPairs(sums[i], wideOnes));
            } else {
                const VecI16 quads = demoteBlocks<VecI16>(mulPairs(sums[2 * i], wideOnes),
                                                          mulPairs(sums[2 * i + 1], wideOnes));
                results[i] = toFloat(mulPairs(quads, wideOnes));
            }
        }
    }
    return finishInTurn(results, factor);
}

// Twelve bytes of each block.
template <int block>
DORN_INLINE void storeTwelves(uint8_t* to, VecU8 v) {
    if constexpr (block + 1 < VecU8::lanes / 16) {
        store(to, extractBlock<block>(v));
        storeTwelves<block + 1>(to + 12, v);
    } else {
        storeN(to, extractBlock<block>(v), 12);
    }
}

template <size_t channels, size_t form>
DORN_INLINE void storeWholePixels(uint8_t* to, VecU8 v) {
    if constexpr (channels == 3) {
        static constexpr BlockNumbers packed = makePackedNumbers<form>();
        storeTwelves<0>(to, lookupBlocks(v, loadNumbers(packed)));
    } else {
        store(to, v);
    }
}

// Two rows. The processor fetches ahead along a row, but not from one row to the next.
DORN_INLINE void prefetchRows(const uint8_t* from, ptrdiff_t step, size_t bytes) {
    for (size_t at = 0; at < bytes; at += 64) {
        prefetch(from + at);
        prefetch(from + step + at);
    }
}

template <size_t channels, size_t form>
DORN_INLINE void makeWholeRowBy(const SuperRows& rows, size_t pixels, size_t count, float factor,
                                uint8_t* to) {
    static constexpr BlockNumbers windowNumbers = makeWindowNumbers<channels, form>();
    constexpr size_t step = superFormPixels(kVariant, channels);
    const bool isRepeated = channels > 1 && form == 4;
    Windows windows;
    windows.repeats = isRepeated ? count / 4 : 1;
    windows.distance = windows.repeats * kWindowBytes<channels>;
    for (size_t i = 0; i < 4; ++i) {
        windows.offsets[i] = static_cast<int32_t>(i * form * windows.distance);
    }
    const VecU8 numbers = loadNumbers(windowNumbers);
    const NarrowF32 factors = splat<NarrowF32>(factor);
    const size_t sourceStep = count * channels;
    size_t at = 0;
    const bool isHalf = form == 2 && rows.count == 2;
    for (; at + step < pixels; at += step) {
        if (isHalf) {
            prefetchRows(rows.from + 2 * rows.step + at * sourceStep, rows.step, step * sourceStep);
        }
        storeWholePixels<channels, form>(
            to + at * channels,
            makeWholePixels<channels, form>(rows, rows.from + at * sourceStep, windows, numbers, factors));
    }
    // The last ones end with the row. Windows of twelve bytes are read from four bytes before, to stay in it.
    constexpr uint8_t shift = 16 - kWindowBytes<channels>;
    at = pixels - step;
    storeWholePixels<channels, form>(
        to + at * channels, makeWholePixels<channels, form>(rows, rows.from + at * sourceStep - shift,
                                                            windows, numbers + splat<VecU8>(shift), factors));
}

template <size_t channels>
DORN_INLINE void makeWholeRowOf(const SuperRows& rows, size_t pixels, size_t count, float factor,
                                uint8_t* to) {
    switch (superForm(channels, count)) {
    case 2:
        makeWholeRowBy<channels, 2>(rows, pixels, count, factor, to);
        break;
    case 4:
        makeWholeRowBy<channels, 4>(rows, pixels, count, factor, to);
        break;
    default:
        if constexpr (channels == 1) {
            makeWholeRowBy<1, 8>(rows, pixels, count, factor, to);
        }
        break;
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void SuperWholeKernels<kVariant>::makeRow(const SuperRows& rows, size_t pixels, size_t count, size_t channels,
                                          float factor, uint8_t* to) {
    static_assert(superFormPixels(kVariant, 1) == VecU8::lanes);
    switch (channels) {
    case 1:
        makeWholeRowOf<1>(rows, pixels, count, factor, to);
        break;
    case 3:
        makeWholeRowOf<3>(rows, pixels, count, factor, to);
        break;
    default:
        makeWholeRowOf<4>(rows, pixels, count, factor, to);
        break;
    }
}

} // namespace primitives

#endif
