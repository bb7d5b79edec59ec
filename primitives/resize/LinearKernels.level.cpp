#include "primitives/resize/LinearKernels.h"

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

constexpr size_t kBlock = VecI16::lanes;
static_assert(kBlock == linearBlock(kVariant));

// ---------------------------------------------------------------- horizontal pass, fixed form

struct LeftFactors {
    static constexpr int8_t left = 64;
    static constexpr int8_t right = 0;
};
struct DifferenceFactors {
    static constexpr int8_t left = 64;
    static constexpr int8_t right = -64;
};

template <typename Factors>
DORN_INLINE VecI8 factors() {
    constexpr uint16_t both = static_cast<uint16_t>(static_cast<uint8_t>(Factors::left) |
                                                    static_cast<uint8_t>(Factors::right) << 8);
    return bitCast<VecI8>(splat<VecU16>(both));
}

DORN_INLINE VecI16 interpolate(VecU8 pairs, VecI16 weights) {
    const VecI16 left = mulPairs(pairs, factors<LeftFactors>()) + splat<VecI16>(32);
    return left + mulHighRounded(mulPairs(pairs, factors<DifferenceFactors>()), weights);
}

DORN_INLINE void filterWindows(const uint8_t* row, const LinearColumns& columns, int16_t* to) {
    const int32_t* starts = columns.starts;
    const uint8_t* numbers = columns.numbers;
    const size_t last = columns.samples - kBlock;
    for (size_t at = 0;; at += kBlock) {
        at = at < last ? at : last;
        const VecU8 windows = loadBlocks<VecU8>(row, starts);
        const VecU8 pairs = lookupBlocks(windows, load<VecU8>(numbers));
        store(to + at, interpolate(pairs, load<VecI16>(columns.weights + at)));
        if (at == last) {
            return;
        }
        starts += kBlock / kLinearGroup;
        numbers += 2 * kBlock;
    }
}

template <size_t channels>
DORN_INLINE void gatherPairs(const uint8_t* row, const LinearColumns& columns) {
    uint8_t* to = columns.pairs;
    for (size_t pixel = 0; pixel < columns.pixels; ++pixel) {
        const uint8_t* from = row + static_cast<ptrdiff_t>(columns.index[pixel]) * ptrdiff_t{channels};
        for (size_t channel = 0; channel < channels; ++channel) {
            to[0] = from[channel];
            to[1] = from[channel + channels];
            to += 2;
        }
    }
}

DORN_INLINE void filterPairs(const LinearColumns& columns, int16_t* to) {
    size_t at = 0;
    for (; columns.samples - at >= kBlock; at += kBlock) {
        store(to + at, interpolate(load<VecU8>(columns.pairs + 2 * at), load<VecI16>(columns.weights + at)));
    }
    if (const size_t rest = columns.samples - at; rest > 0) {
        const VecU8 pairs = loadN<VecU8>(columns.pairs + 2 * at, 2 * rest);
        storeN(to + at, interpolate(pairs, loadN<VecI16>(columns.weights + at, rest)), rest);
    }
}

// ---------------------------------------------------------------- vertical pass, fixed form

// Two registers of samples of the upper row, and twice the difference to the lower row.
struct Blended {
    VecI16 upper[2];
    VecI16 fall[2];
};

DORN_INLINE VecI16 blend(VecI16 upper, VecI16 fall, VecI16 weight) {
    return (upper + mulHigh(fall, weight)) >> 6;
}

DORN_INLINE VecU8 blend(const Blended& rows, int16_t weight) {
    const VecI16 weights = splat<VecI16>(weight);
    return demote<VecU8>(blend(rows.upper[0], rows.fall[0], weights),
                         blend(rows.upper[1], rows.fall[1], weights));
}

DORN_INLINE VecI16 doubled(VecI16 v) {
    return v + v;
}

DORN_INLINE Blended loadBlended(const int16_t* upper, const int16_t* lower) {
    const VecI16 upper0 = load<VecI16>(upper);
    const VecI16 upper1 = load<VecI16>(upper + kBlock);
    return {{upper0, upper1},
            {doubled(upper0 - load<VecI16>(lower)), doubled(upper1 - load<VecI16>(lower + kBlock))}};
}

// The samples of the last register, of which there may be less than a register.
DORN_INLINE Blended loadBlendedN(const int16_t* upper, const int16_t* lower, size_t count) {
    int16_t both[2][2 * kBlock] = {};
    __builtin_memcpy(both[0], upper, count * sizeof *upper);
    __builtin_memcpy(both[1], lower, count * sizeof *lower);
    return loadBlended(both[0], both[1]);
}

template <int count>
DORN_INLINE void blendTargets(const int16_t* upper, const int16_t* lower, size_t samples,
                              const LinearTarget* targets) {
    constexpr size_t step = VecU8::lanes;
    size_t at = 0;
    for (; samples - at >= step; at += step) {
        const Blended rows = loadBlended(upper + at, lower + at);
        for (int target = 0; target < count; ++target) {
            store(targets[target].to + at, blend(rows, targets[target].weight));
        }
    }
    if (const size_t rest = samples - at; rest > 0) {
        const Blended rows = loadBlendedN(upper + at, lower + at, rest);
        for (int target = 0; target < count; ++target) {
            storeN(targets[target].to + at, blend(rows, targets[target].weight), rest);
        }
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void LinearKernels<kVariant>::filterRow(const uint8_t* row, const LinearColumns& columns, int16_t* to) {
    if (columns.starts) {
        filterWindows(row, columns, to);
        return;
    }
    switch (columns.channels) {
    case 1:
        gatherPairs<1>(row, columns);
        break;
    case 3:
        gatherPairs<3>(row, columns);
        break;
    default:
        gatherPairs<4>(row, columns);
        break;
    }
    filterPairs(columns, to);
}

template <>
void LinearKernels<kVariant>::blendRows(const int16_t* upper, const int16_t* lower, size_t samples,
                                        const LinearTarget* targets, int count) {
    if (count == kLinearTargets) {
        blendTargets<kLinearTargets>(upper, lower, samples, targets);
    } else {
        blendTargets<1>(upper, lower, samples, targets);
    }
}

#if DORN_VARIANT <= 1

template <>
void LinearFloatKernels<kVariant>::filterRow(const uint8_t* row, const int32_t* index, const float* fractions,
                                             size_t pixels, size_t channels, float* to) {
    for (size_t pixel = 0; pixel < pixels; ++pixel) {
        const uint8_t* from = row + static_cast<ptrdiff_t>(index[pixel]) * static_cast<ptrdiff_t>(channels);
        for (size_t channel = 0; channel < channels; ++channel) {
            const int a = from[channel];
            const int b = from[channel + channels];
            *to++ = static_cast<float>(a) + static_cast<float>(b - a) * fractions[pixel];
        }
    }
}

template <>
void LinearFloatKernels<kVariant>::blendRow(const float* upper, const float* lower, size_t samples,
                                            float fraction, uint8_t* to) {
    const VecF32 fractions = splat<VecF32>(fraction);
    const auto blend = [fractions](VecF32 a, VecF32 b) { return nearestInt((b - a) * fractions + a); };
    size_t at = 0;
    for (; samples - at >= VecF32::lanes; at += VecF32::lanes) {
        demoteStore(to + at, blend(load<VecF32>(upper + at), load<VecF32>(lower + at)));
    }
    if (const size_t rest = samples - at; rest > 0) {
        demoteStoreN(to + at, blend(loadN<VecF32>(upper + at, rest), loadN<VecF32>(lower + at, rest)), rest);
    }
}

#endif

} // namespace primitives
