#include "primitives/resize/SuperKernels.h"

#include "primitives/core/Copy.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

// ---------------------------------------------------------------- down the columns

template <size_t count>
DORN_INLINE void sumRowsAt(const SuperRows& rows, size_t at, float* to) {
    const uint8_t* from = rows.from + at;
    VecF32 sums[count];
    const VecF32 first = splat<VecF32>(rows.weights[0]);
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) {
        sums[i] = loadPromote<VecF32>(from + i * VecF32::lanes) * first;
    }
    for (size_t row = 1; row < rows.count; ++row) {
        from += rows.step;
        const VecF32 weight = splat<VecF32>(rows.weights[row]);
#pragma GCC unroll 8
        for (size_t i = 0; i < count; ++i) {
            sums[i] = mulAdd(loadPromote<VecF32>(from + i * VecF32::lanes), weight, sums[i]);
        }
    }
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) {
        store(to + at + i * VecF32::lanes, sums[i]);
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

// Pixels with `step` elements each, of which four are summed.
template <size_t step>
DORN_INLINE void sumPixels(const SuperColumns& columns, const float* sums, float* to) {
    const float* next = columns.weights;
    for (size_t pixel = 0; pixel < columns.pixels; pixel += kPixels) {
        const float* weights[kPixels];
        int32_t offsets[kPixels];
        for (size_t i = 0; i < kPixels; ++i) {
            const size_t at = pixel + i < columns.pixels ? pixel + i : pixel;
            weights[i] = takeWeights(columns, next);
            offsets[i] = (columns.starts[at] - columns.origin) * static_cast<int32_t>(step * sizeof(float));
        }
        Pixels sum = columns.continues ? load<Pixels>(to) : zero<Pixels>();
        const float* from = sums;
        for (size_t entry = 0; entry < columns.count; ++entry, from += step) {
            sum = mulAdd(loadFloatBlocks<Pixels>(from, offsets), splatWeights(weights, entry), sum);
        }
        storePixels<step>(to, sum);
        to += step * kPixels;
    }
}

DORN_INLINE void sumInterleaved(const SuperColumns& columns, const float* sums, float* to) {
    constexpr size_t lanes = Pixels::lanes;
    const float* next = columns.weights;
    for (size_t pixel = 0; pixel < columns.pixels; ++pixel, to += lanes) {
        const float* from = sums + static_cast<size_t>(columns.starts[pixel] - columns.origin) * lanes;
        const float* const weights = takeWeights(columns, next);
        Pixels sum = columns.continues ? load<Pixels>(to) : zero<Pixels>();
        for (size_t entry = 0; entry < columns.count; ++entry, from += lanes) {
            sum = mulAdd(load<Pixels>(from), splat<Pixels>(weights[entry]), sum);
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
    NarrowI32 v[4];
#pragma GCC unroll 4
    for (size_t i = 0; i < 4; ++i) {
        v[i] = nearestInt(load<NarrowF32>(sums + i * NarrowF32::lanes) * factor);
    }
    const VecU8 inTurn =
        demoteBlocks<VecU8>(demoteBlocks<VecI16>(v[0], v[1]), demoteBlocks<VecI16>(v[2], v[3]));
    const NarrowI32 quads = bitCast<NarrowI32>(inTurn);
    return bitCast<VecU8>(shuffle<FourInTurn>(quads, quads));
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void SuperKernels<kVariant>::sumRows(const SuperRows& rows, size_t samples, float* to) {
    constexpr size_t lanes = VecF32::lanes;
    constexpr size_t wide = 8;
    if (samples < lanes) {
        sumFewSamples(rows, samples, to);
        return;
    }
    size_t at = 0;
    for (; samples - at >= wide * lanes; at += wide * lanes) {
        sumRowsAt<wide>(rows, at, to);
    }
    for (; samples - at >= lanes; at += lanes) {
        sumRowsAt<1>(rows, at, to);
    }
    if (at < samples) {
        sumRowsAt<1>(rows, samples - lanes, to);
    }
}

template <>
void SuperKernels<kVariant>::interleave(const float* rows, size_t step, size_t count, float* to) {
    const auto far = static_cast<int32_t>(4 * step * sizeof(float));
    const int32_t offsets[2] = {0, far};
    for (size_t at = 0; at < count; at += 4, to += 4 * Pixels::lanes) {
        Pixels v[4];
        for (size_t i = 0; i < 4; ++i) {
            v[i] = loadFloatBlocks<Pixels>(rows + i * step + at, offsets);
        }
        transposeBlocks(v);
        for (size_t i = 0; i < 4; ++i) {
            store(to + i * Pixels::lanes, v[i]);
        }
    }
}

template <>
void SuperKernels<kVariant>::deinterleave(const float* from, size_t count, float* rows, size_t step) {
    for (size_t at = 0; at < count; at += 4, from += 4 * Pixels::lanes) {
        for (size_t row = 0; row < Pixels::lanes; row += 4) {
            Vec<float, 4> v[4];
            for (size_t i = 0; i < 4; ++i) {
                v[i] = load<Vec<float, 4>>(from + i * Pixels::lanes + row);
            }
            transposeBlocks(v);
            for (size_t i = 0; i < 4; ++i) {
                store(rows + (row + i) * step + at, v[i]);
            }
        }
    }
}

template <>
void SuperKernels<kVariant>::sumColumns(const SuperColumns& columns, size_t channels, const float* sums,
                                        float* to) {
    switch (channels) {
    case 1:
        sumInterleaved(columns, sums, to);
        break;
    case 3:
        sumPixels<3>(columns, sums, to);
        break;
    default:
        sumPixels<4>(columns, sums, to);
        break;
    }
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
