#include "primitives/resize/SuperKernels.h"

#include "primitives/core/Copy.h"
#include "primitives/resize/SuperFinish.inl"

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

// The same for one destination row whose sums are whole.
template <size_t count>
DORN_INLINE void sumWholeRowsAt(const SuperRows& rows, size_t at, float* to) {
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
    int16_t whole[count * lanes];
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) {
        store(whole + i * lanes, sums[i]);
    }
#pragma GCC unroll 8
    for (size_t i = 0; i < count * lanes; i += VecF32::lanes) {
        store(to + at + i, loadPromote<VecF32>(whole + i));
    }
}

// Calls sum<count>(at) for all samples, `count` vectors of `lanes` each; the last ones may be summed twice.
template <size_t wide, size_t lanes, typename Sum>
DORN_INLINE void inVectors(size_t samples, Sum sum) {
    size_t at = 0;
    for (; samples - at >= wide * lanes; at += wide * lanes) {
        sum.template operator()<wide>(at);
    }
    if (at < samples && samples >= wide * lanes) {
        sum.template operator()<wide>(samples - wide * lanes);
        return;
    }
    for (; samples - at >= lanes; at += lanes) {
        sum.template operator()<1>(at);
    }
    if (at < samples) {
        sum.template operator()<1>(samples - lanes);
    }
}

// Fewer samples than the vectors above have lanes.
DORN_INLINE void sumFewSamples(const SuperRows& rows, size_t samples, float* to) {
    for (size_t at = 0; at < samples; at += VecF32::lanes) {
        const size_t count = samples - at < VecF32::lanes ? samples - at : VecF32::lanes;
        const uint8_t* from = rows.from + at;
        VecF32 sums = zero<VecF32>();
        for (size_t row = 0; row < rows.count; ++row, from += rows.step) {
            const VecF32 weight = splat<VecF32>(rows.weights ? rows.weights[row] : 1.0F);
            sums = mulAdd(loadPromoteN<VecF32>(from, count), weight, sums);
        }
        storeN(to + at, sums, count);
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
            const bool isThere = pixel + i < columns.pixels; // else the first one once more
            const size_t at = isThere ? pixel + i : pixel;
            weights[i] = isThere ? takeWeights(columns, next) : weights[0];
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

// ---------------------------------------------------------------- pixels

// Undoes what two steps of demoteBlocks leave.
struct FourInTurn {
    static constexpr int blocks = NarrowI32::lanes / 4;
    static constexpr int at(int i) { return i % blocks * 4 + i / blocks; }
};

DORN_INLINE VecU8 finishBlock(const float* sums, NarrowF32 factor) {
    NarrowF32 v[4];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        v[i] = load<NarrowF32>(sums + i * NarrowF32::lanes);
    }
    const NarrowI32 quads = bitCast<NarrowI32>(finishInTurn(v, factor));
    return bitCast<VecU8>(shuffle<FourInTurn>(quads, quads));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void SuperKernels<kVariant>::sumRows(const SuperRows* rows, size_t rowCount, size_t samples, float* to,
                                     size_t step) {
    const bool isWhole = !rows[0].weights;
    if (samples < static_cast<size_t>(isWhole ? VecI16::lanes : VecF32::lanes)) {
        for (size_t i = 0; i < rowCount; ++i) {
            sumFewSamples(rows[i], samples, to + i * step);
        }
    } else if (isWhole) {
        for (size_t i = 0; i < rowCount; ++i) {
            inVectors<4, VecI16::lanes>(
                samples, [&]<size_t count>(size_t at) __attribute__((always_inline)) {
                    sumWholeRowsAt<count>(rows[i], at, to + i * step);
                });
        }
    } else {
        inVectors<6, VecF32::lanes>(
            samples, [&]<size_t count>(size_t at)
                         __attribute__((always_inline)) { sumRowsAt<count>(rows, rowCount, at, to, step); });
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

template <>
void SuperKernels<kVariant>::copy(const uint8_t* from, size_t bytes, uint8_t* to) {
    ippCopy(from, to, bytes);
}

} // namespace primitives
