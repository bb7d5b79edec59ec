#include "primitives/resize/SuperKernels.h"

#include "primitives/core/Copy.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

// ---------------------------------------------------------------- down the columns

// Columns of samples for all destination rows, from the upper to the lower: where two of them share a source
// row it is converted once.
template <size_t count>
DORN_INLINE void sumRowsAt(const SuperRows* rows, size_t rowCount, size_t at, float* to, size_t step) {
    VecF32 samples[count] = {};
    VecF32 sums[count];
    for (size_t i = 0; i < rowCount; ++i, to += step) {
        const SuperRows below = rows[i];
        const uint8_t* from = below.from + at;
        const VecF32 first = splat<VecF32>(below.weights[0]);
        if (!below.sharesFirst) {
#pragma GCC unroll 8
            for (size_t k = 0; k < count; ++k) {
                samples[k] = loadPromote<VecF32>(from + k * VecF32::lanes);
            }
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < count; ++k) {
            sums[k] = samples[k] * first;
        }
        for (size_t row = 1; row < below.count; ++row) {
            from += below.step;
            const VecF32 weight = splat<VecF32>(below.weights[row]);
#pragma GCC unroll 8
            for (size_t k = 0; k < count; ++k) {
                samples[k] = loadPromote<VecF32>(from + k * VecF32::lanes);
                sums[k] = mulAdd(samples[k], weight, sums[k]);
            }
        }
#pragma GCC unroll 8
        for (size_t k = 0; k < count; ++k) {
            store(to + at + k * VecF32::lanes, sums[k]);
        }
    }
}

DORN_INLINE void sumFewSamples(const SuperRows& rows, size_t samples, float* to) {
    VecF32 sums = zero<VecF32>();
    const uint8_t* from = rows.from;
    for (size_t row = 0; row < rows.count; ++row, from += rows.step) {
        sums = mulAdd(loadPromoteN<VecF32>(from, samples), splat<VecF32>(rows.weights[row]), sums);
    }
    storeN(to, sums, samples);
}

template <size_t count>
DORN_INLINE void sumWholeRowsAt(const SuperRows& rows, size_t at, int16_t* to) {
    constexpr size_t lanes = VecI16::lanes;
    const uint8_t* from = rows.from + at;
    VecI16 sums[count];
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) {
        sums[i] = loadPromote<VecI16>(from + i * lanes);
    }
    for (size_t row = 1; row < rows.count; ++row) {
        from += rows.step;
#pragma GCC unroll 8
        for (size_t i = 0; i < count; ++i) {
            sums[i] += loadPromote<VecI16>(from + i * lanes);
        }
    }
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) {
        store(to + at + i * lanes, sums[i]);
    }
}

// The same in floats, for one destination row.
template <size_t count>
DORN_INLINE void sumWholeRowsAt(const SuperRows& rows, size_t at, float* to) {
    SuperRows moved = rows;
    moved.from += at;
    int16_t sums[count * VecI16::lanes];
    sumWholeRowsAt<count>(moved, 0, sums);
#pragma GCC unroll 8
    for (size_t i = 0; i < count * VecI16::lanes; i += VecF32::lanes) {
        store(to + at + i, loadPromote<VecF32>(sums + i));
    }
}

// Columns of whole sums, in vectors of 16-bit lanes; the last ones may be summed twice.
template <typename Sum>
DORN_INLINE void sumWholeRowsTo(const SuperRows& rows, size_t samples, Sum* to) {
    constexpr size_t lanes = VecI16::lanes;
    constexpr size_t wide = 4;
    size_t at = 0;
    for (; samples - at >= wide * lanes; at += wide * lanes) {
        sumWholeRowsAt<wide>(rows, at, to);
    }
    if (at < samples && samples >= wide * lanes) {
        sumWholeRowsAt<wide>(rows, samples - wide * lanes, to);
        return;
    }
    for (; samples - at >= lanes; at += lanes) {
        sumWholeRowsAt<1>(rows, at, to);
    }
    for (; at < samples; ++at) {
        int sum = 0;
        for (size_t row = 0; row < rows.count; ++row) {
            sum += rows.from[static_cast<ptrdiff_t>(row) * rows.step + static_cast<ptrdiff_t>(at)];
        }
        to[at] = static_cast<Sum>(sum);
    }
}

// ---------------------------------------------------------------- along the rows

// As many pixels as fit a register, four lanes each.
using Pixels = Vec<float, kVariant >= 5 ? 8 : 4>;
constexpr size_t kPixels = Pixels::lanes / 4;
static_assert(superLanes(kVariant) == Pixels::lanes);

template <typename V>
DORN_INLINE V loadFloatBlocks(const float* base, const int32_t* offsets) {
    return bitCast<V>(loadBlocks<Vec<uint8_t, sizeof(V)>>(reinterpret_cast<const uint8_t*>(base), offsets));
}

// In each block of 128 bits of four vectors, rows become columns.
template <typename V>
DORN_INLINE void transposeBlocks(V (&v)[4]) {
    using Twice = Vec<double, V::lanes / 2>;
    const auto lower = [](V a, V b) {
        return bitCast<V>(interleaveLowerBlocks(bitCast<Twice>(a), bitCast<Twice>(b)));
    };
    const auto upper = [](V a, V b) {
        return bitCast<V>(interleaveUpperBlocks(bitCast<Twice>(a), bitCast<Twice>(b)));
    };
    const V lower01 = interleaveLowerBlocks(v[0], v[1]);
    const V upper01 = interleaveUpperBlocks(v[0], v[1]);
    const V lower23 = interleaveLowerBlocks(v[2], v[3]);
    const V upper23 = interleaveUpperBlocks(v[2], v[3]);
    v[0] = lower(lower01, lower23);
    v[1] = upper(lower01, lower23);
    v[2] = lower(upper01, upper23);
    v[3] = upper(upper01, upper23);
}

// The weights of a pixel, and on to those of the next.
DORN_INLINE const float* takeWeights(const SuperColumns& columns, const float*& next) {
    const float* const current = next;
    next += columns.stride;
    next = next == columns.periodEnd ? columns.period : next;
    return current;
}

struct UpperFromSecond {
    static constexpr int at(int i) { return i < 4 ? i : i + 8; }
};

// One weight for each block of 128 bits.
DORN_INLINE Pixels splatWeights(const float* const (&weights)[kPixels], size_t entry) {
    if constexpr (kPixels == 1) {
        return splat<Pixels>(weights[0][entry]);
    } else {
        return shuffle<UpperFromSecond>(splat<Pixels>(weights[0][entry]), splat<Pixels>(weights[1][entry]));
    }
}

template <size_t step>
DORN_INLINE void storePixels(float* to, Pixels v) {
    if constexpr (step == 4 || kPixels == 1) {
        store(to, v);
    } else {
        store(to, extractBlock<0>(v));
        store(to + step, extractBlock<1>(v));
    }
}

// Calls sum<count>() with the number of columns, 0 if it isn't one of the usual ones.
template <typename Sum>
DORN_INLINE void withCount(size_t count, Sum sum) {
    switch (count) {
    case 2:
        sum.template operator()<2>();
        break;
    case 3:
        sum.template operator()<3>();
        break;
    case 4:
        sum.template operator()<4>();
        break;
    case 5:
        sum.template operator()<5>();
        break;
    case 6:
        sum.template operator()<6>();
        break;
    default:
        sum.template operator()<0>();
        break;
    }
}

// Pixels with `step` elements each, of which four are summed. `columns` is a copy, which no store can change.
template <size_t step, size_t fixedCount>
DORN_INLINE void sumPixels(SuperColumns columns, const float* sums, float* to) {
    const size_t count = fixedCount != 0 ? fixedCount : columns.count;
    const float* next = columns.weights;
    for (size_t pixel = 0; pixel < columns.pixels; pixel += kPixels) {
        const float* weights[kPixels];
        int32_t offsets[kPixels];
#pragma GCC unroll 2
        for (size_t i = 0; i < kPixels; ++i) {
            const size_t at = pixel + i < columns.pixels ? pixel + i : pixel;
            weights[i] = takeWeights(columns, next);
            offsets[i] = (columns.starts[at] - columns.origin) * static_cast<int32_t>(step * sizeof(float));
        }
        Pixels sum = columns.continues ? load<Pixels>(to) : zero<Pixels>();
#pragma GCC unroll 6
        for (size_t entry = 0; entry < count; ++entry) {
            sum = mulAdd(loadFloatBlocks<Pixels>(sums + entry * step, offsets), splatWeights(weights, entry),
                         sum);
        }
        storePixels<step>(to, sum);
        to += step * kPixels;
    }
}

template <size_t fixedCount>
DORN_INLINE void sumInterleaved(SuperColumns columns, const float* sums, float* to) {
    constexpr size_t lanes = Pixels::lanes;
    const size_t count = fixedCount != 0 ? fixedCount : columns.count;
    const float* next = columns.weights;
    for (size_t pixel = 0; pixel < columns.pixels; ++pixel, to += lanes) {
        const float* const from = sums + static_cast<size_t>(columns.starts[pixel] - columns.origin) * lanes;
        const float* const weights = takeWeights(columns, next);
        Pixels sum = columns.continues ? load<Pixels>(to) : zero<Pixels>();
#pragma GCC unroll 6
        for (size_t entry = 0; entry < count; ++entry) {
            sum = mulAdd(load<Pixels>(from + entry * lanes), splat<Pixels>(weights[entry]), sum);
        }
        store(to, sum);
    }
}

// ---------------------------------------------------------------- whole ratios

// The sums of `count` neighbours each.
template <size_t count>
DORN_INLINE NarrowI32 sumNeighbours(const int16_t* from) {
    const VecI16 ones = splat<VecI16>(1);
    if constexpr (count == 2) {
        return mulPairs(load<VecI16>(from), ones);
    } else {
        constexpr size_t half = count / 2;
        const NarrowI32 lower = sumNeighbours<half>(from);
        const NarrowI32 upper = sumNeighbours<half>(from + half * NarrowI32::lanes);
        return mulPairs(demote<VecI16>(lower, upper), ones);
    }
}

template <size_t count>
DORN_INLINE void sumWholeNeighbours(size_t pixels, const int16_t* sums, float* to) {
    for (size_t at = 0; at < pixels; at += NarrowF32::lanes) {
        store(to + at, toFloat(sumNeighbours<count>(sums + at * count)));
    }
}

// Brings the samples of two pixels with `channels` channels into pairs.
template <size_t channels, typename V>
DORN_INLINE V pairNumbers() {
    V numbers;
    for (size_t i = 0; i < V::lanes; ++i) {
        const size_t sample = i % 16 / 4 + i / 2 % 2 * channels;
        numbers.raw[i] = static_cast<uint8_t>(2 * (sample < 8 ? sample : 0) + i % 2);
    }
    return numbers;
}

template <size_t channels>
DORN_INLINE void sumWholePixels(const SuperWholeColumns& columns, const int16_t* sums, float* to) {
    using Bytes = Vec<uint8_t, sizeof(Pixels)>;
    using Words = Vec<int16_t, sizeof(Pixels) / 2>;
    using Sums = Vec<int32_t, Pixels::lanes>;
    const Bytes numbers = pairNumbers<channels, Bytes>();
    const Words both = splat<Words>(1);
    const Words one = bitCast<Words>(splat<Sums>(1));
    const size_t step = columns.count * channels;
    const int32_t offsets[2] = {0, static_cast<int32_t>(step * sizeof(int16_t))};
    for (size_t pixel = 0; pixel < columns.pixels; pixel += kPixels) {
        const auto pair = [&](size_t column, Words weights) {
            const auto* from = reinterpret_cast<const uint8_t*>(sums + column * channels);
            const Bytes samples = lookupBlocks(loadBlocks<Bytes>(from, offsets), numbers);
            return mulPairs(bitCast<Words>(samples), weights);
        };
        Sums sum = zero<Sums>();
        size_t column = 0;
        for (; columns.count - column >= 2; column += 2) {
            sum += pair(column, both);
        }
        if (column < columns.count) {
            sum += pair(column, one);
        }
        storePixels<channels>(to, toFloat(sum));
        sums += step * kPixels;
        to += channels * kPixels;
    }
}

// ---------------------------------------------------------------- pixels

// Undoes what two steps of demoteBlocks leave.
struct FourInTurn {
    static constexpr int blocks = NarrowI32::lanes / 4;
    static constexpr int at(int i) { return i % blocks * 4 + i / blocks; }
};

// Block i of the result comes from block i of the four vectors.
DORN_INLINE VecU8 finishInTurn(const NarrowF32 (&sums)[4], NarrowF32 factor) {
    NarrowI32 v[4];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        v[i] = nearestInt(sums[i] * factor);
    }
    return demoteBlocks<VecU8>(demoteBlocks<VecI16>(v[0], v[1]), demoteBlocks<VecI16>(v[2], v[3]));
}

DORN_INLINE VecU8 finishBlock(const float* sums, NarrowF32 factor) {
    NarrowF32 v[4];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        v[i] = load<NarrowF32>(sums + i * NarrowF32::lanes);
    }
    const NarrowI32 quads = bitCast<NarrowI32>(finishInTurn(v, factor));
    return bitCast<VecU8>(shuffle<FourInTurn>(quads, quads));
}

// ---------------------------------------------------------------- whole ratios, from bytes to bytes
//
// A window is 16 bytes of a source row, in which lie whole destination pixels, or with more than one channel
// four source columns of one: 12 bytes with three channels, else all 16. A vector has one window in each
// block of 128 bits.

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

template <size_t channels, size_t form>
DORN_INLINE void makeWholeRowBy(const SuperRows& rows, const SuperWholeColumns& columns, float factor,
                                uint8_t* to) {
    static constexpr BlockNumbers windowNumbers = makeWindowNumbers<channels, form>();
    constexpr size_t step = superFormPixels(kVariant, channels);
    const bool isRepeated = channels > 1 && form == 4;
    Windows windows;
    windows.repeats = isRepeated ? columns.count / 4 : 1;
    windows.distance = windows.repeats * kWindowBytes<channels>;
    for (size_t i = 0; i < 4; ++i) {
        windows.offsets[i] = static_cast<int32_t>(i * form * windows.distance);
    }
    const VecU8 numbers = loadNumbers(windowNumbers);
    const NarrowF32 factors = splat<NarrowF32>(factor);
    const size_t sourceStep = columns.count * channels;
    size_t at = 0;
    for (; at + step < columns.pixels; at += step) {
        storeWholePixels<channels, form>(
            to + at * channels,
            makeWholePixels<channels, form>(rows, rows.from + at * sourceStep, windows, numbers, factors));
    }
    // The last ones end with the row. Windows of twelve bytes are read from four bytes before, to stay in it.
    constexpr uint8_t shift = 16 - kWindowBytes<channels>;
    at = columns.pixels - step;
    storeWholePixels<channels, form>(
        to + at * channels, makeWholePixels<channels, form>(rows, rows.from + at * sourceStep - shift,
                                                            windows, numbers + splat<VecU8>(shift), factors));
}

template <size_t channels>
DORN_INLINE void makeWholeRowOf(const SuperRows& rows, const SuperWholeColumns& columns, float factor,
                                uint8_t* to) {
    switch (superForm(channels, columns.count)) {
    case 2:
        makeWholeRowBy<channels, 2>(rows, columns, factor, to);
        break;
    case 4:
        makeWholeRowBy<channels, 4>(rows, columns, factor, to);
        break;
    default:
        if constexpr (channels == 1) {
            makeWholeRowBy<1, 8>(rows, columns, factor, to);
        }
        break;
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void SuperKernels<kVariant>::sumRows(const SuperRows* rows, size_t rowCount, size_t samples, float* to,
                                     size_t step) {
    constexpr size_t lanes = VecF32::lanes;
    constexpr size_t wide = 6;
    if (!rows[0].weights) {
        for (size_t i = 0; i < rowCount; ++i) {
            sumWholeRowsTo(rows[i], samples, to + i * step);
        }
        return;
    }
    if (samples < lanes) {
        for (size_t i = 0; i < rowCount; ++i) {
            sumFewSamples(rows[i], samples, to + i * step);
        }
        return;
    }
    size_t at = 0;
    for (; samples - at >= wide * lanes; at += wide * lanes) {
        sumRowsAt<wide>(rows, rowCount, at, to, step);
    }
    if (at < samples && samples >= wide * lanes) {
        sumRowsAt<wide>(rows, rowCount, samples - wide * lanes, to, step);
        return;
    }
    for (; samples - at >= lanes; at += lanes) {
        sumRowsAt<1>(rows, rowCount, at, to, step);
    }
    if (at < samples) {
        sumRowsAt<1>(rows, rowCount, samples - lanes, to, step);
    }
}

template <>
void SuperKernels<kVariant>::interleave(const float* rows, size_t step, size_t count, float* to) {
    const auto far = static_cast<int32_t>(4 * step * sizeof(float));
    const int32_t offsets[2] = {0, far};
    for (size_t at = 0; at < count; at += 4, to += 4 * Pixels::lanes) {
        Pixels v[4];
#pragma GCC unroll 4
        for (size_t i = 0; i < 4; ++i) {
            v[i] = loadFloatBlocks<Pixels>(rows + i * step + at, offsets);
        }
        transposeBlocks(v);
#pragma GCC unroll 4
        for (size_t i = 0; i < 4; ++i) {
            store(to + i * Pixels::lanes, v[i]);
        }
    }
}

template <>
void SuperKernels<kVariant>::deal(const uint8_t* from, size_t pixels, uint8_t* const* rows, size_t rowCount,
                                  size_t at) {
    // The bytes of sixteen pixels, all in one. Each step interleaves the first half with the second, which
    // brings the highest bit of a byte's number to the lowest place: after four steps the number of the pixel
    // stands behind that of the row.
    constexpr size_t count = Pixels::lanes;
    using Bytes = Vec<uint8_t, 16>;
    for (size_t end = at + pixels; at < end; at += 16, from += 16 * count) {
        Bytes v[count];
#pragma GCC unroll 8
        for (size_t i = 0; i < count; ++i) {
            v[i] = load<Bytes>(from + 16 * i);
        }
#pragma GCC unroll 4
        for (int step = 0; step < 4; ++step) {
            Bytes next[count];
#pragma GCC unroll 4
            for (size_t i = 0; i < count / 2; ++i) {
                next[2 * i] = interleaveLower(v[i], v[i + count / 2]);
                next[2 * i + 1] = interleaveUpper(v[i], v[i + count / 2]);
            }
#pragma GCC unroll 8
            for (size_t i = 0; i < count; ++i) {
                v[i] = next[i];
            }
        }
        const size_t left = end - at;
#pragma GCC unroll 8
        for (size_t i = 0; i < count; ++i) {
            if (i >= rowCount) {
                break;
            }
            if (left >= 16) {
                store(rows[i] + at, v[i]);
            } else {
                storeN(rows[i] + at, v[i], left);
            }
        }
    }
}

template <>
void SuperKernels<kVariant>::sumColumns(const SuperColumns& columns, size_t channels, const float* sums,
                                        float* to) {
    withCount(
        columns.count, [&]<size_t count>() __attribute__((always_inline)) {
            if (channels == 1) {
                sumInterleaved<count>(columns, sums, to);
            } else if (channels == 3) {
                sumPixels<3, count>(columns, sums, to);
            } else {
                sumPixels<4, count>(columns, sums, to);
            }
        });
}

template <>
void SuperKernels<kVariant>::finish(const float* sums, size_t samples, float factor, uint8_t* to) {
    static_assert(VecU8::lanes <= kSuperMargin);
    const NarrowF32 factors = splat<NarrowF32>(factor);
    size_t at = 0;
    for (; samples - at >= VecU8::lanes; at += VecU8::lanes) {
        store(to + at, finishBlock(sums + at, factors));
    }
    if (at < samples) {
        storeN(to + at, finishBlock(sums + at, factors), samples - at);
    }
}

#if DORN_VARIANT >= 2

template <>
void SuperKernels<kVariant>::sumWholeRows(const SuperRows& rows, size_t samples, int16_t* to) {
    sumWholeRowsTo(rows, samples, to);
}

template <>
void SuperKernels<kVariant>::sumWholeColumns(const SuperWholeColumns& columns, size_t channels,
                                             const int16_t* sums, float* to) {
    static_assert(NarrowF32::lanes * 8 <= kSuperWholeMargin && NarrowF32::lanes <= kSuperMargin);
    if (channels == 3) {
        sumWholePixels<3>(columns, sums, to);
    } else if (channels == 4) {
        sumWholePixels<4>(columns, sums, to);
    } else if (columns.count == 2) {
        sumWholeNeighbours<2>(columns.pixels, sums, to);
    } else if (columns.count == 4) {
        sumWholeNeighbours<4>(columns.pixels, sums, to);
    } else {
        sumWholeNeighbours<8>(columns.pixels, sums, to);
    }
}

template <>
void SuperKernels<kVariant>::makeWholeRow(const SuperRows& rows, const SuperWholeColumns& columns,
                                          size_t channels, float factor, uint8_t* to) {
    static_assert(superFormPixels(kVariant, 1) == VecU8::lanes);
    switch (channels) {
    case 1:
        makeWholeRowOf<1>(rows, columns, factor, to);
        break;
    case 3:
        makeWholeRowOf<3>(rows, columns, factor, to);
        break;
    default:
        makeWholeRowOf<4>(rows, columns, factor, to);
        break;
    }
}

#endif

template <>
void SuperKernels<kVariant>::copy(const uint8_t* from, size_t bytes, uint8_t* to) {
    ippCopy(from, to, bytes);
}

} // namespace primitives
