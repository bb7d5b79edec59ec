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
    const VecI16 left = mulPairs(pairs, factors<LeftFactors>());
    return left + mulHighRounded(mulPairs(pairs, factors<DifferenceFactors>()), weights);
}

template <size_t group>
DORN_INLINE VecU8 loadWindows(const uint8_t* row, const int32_t* starts) {
    if constexpr (group == kLinearGroup) {
        return loadBlocks<VecU8>(row, starts);
    } else {
        return loadTwinBlocks<VecU8>(row, starts);
    }
}

template <size_t group>
DORN_INLINE VecI16 filterBlock(const uint8_t* row, const int32_t* starts, const uint8_t* numbers,
                               const int16_t* weights) {
    const VecU8 pairs = lookupBlocks(loadWindows<group>(row, starts), load<VecU8>(numbers));
    return interpolate(pairs, load<VecI16>(weights));
}

template <size_t group>
DORN_INLINE void filterWindows(const uint8_t* row, const LinearColumns& columns, int16_t* to) {
    const int32_t* starts = columns.starts;
    const uint8_t* numbers = columns.numbers;
    const int16_t* weights = columns.weights;
    const size_t samples = columns.samples;
    size_t at = 0;
    for (; at + kBlock <= samples; at += kBlock) {
        store(to + at, filterBlock<group>(row, starts, numbers + 2 * at, weights + at));
        starts += kBlock / group;
    }
    if (at < samples) {
        const size_t last = samples - kBlock;
        store(to + last, filterBlock<group>(row, starts, numbers + 2 * at, weights + last));
    }
}

template <size_t channels>
DORN_INLINE const uint8_t* neighboursOf(const uint8_t* row, const LinearColumns& columns, size_t pixel) {
    return row + static_cast<ptrdiff_t>(columns.index[pixel]) * ptrdiff_t{channels};
}

DORN_INLINE uint64_t load64Bits(const uint8_t* from) {
    uint64_t bits;
    __builtin_memcpy(&bits, from, sizeof bits);
    return bits;
}

// The neighbours of a pixel follow each other in memory. `numbers` brings those in the two halves into pairs.
DORN_INLINE Vec<uint64_t, 2> pairUp(uint64_t lower, uint64_t upper, const uint8_t (&numbers)[16]) {
    const Vec<uint64_t, 2> neighbours{{lower, upper}};
    const auto pairs = lookupBlocks(bitCast<Vec<uint8_t, 16>>(neighbours), load<Vec<uint8_t, 16>>(numbers));
    return bitCast<Vec<uint64_t, 2>>(pairs);
}

DORN_INLINE void gatherOne(const uint8_t* row, const LinearColumns& columns) {
    for (size_t pixel = 0; pixel < columns.pixels; ++pixel) {
        __builtin_memcpy(columns.pairs + 2 * pixel, neighboursOf<1>(row, columns, pixel), 2);
    }
}

DORN_INLINE void gatherThree(const uint8_t* row, const LinearColumns& columns) {
    static const uint8_t numbers[16] = {0, 3, 1, 4, 2, 5};
    uint8_t* to = columns.pairs;
    const int32_t last = columns.index[columns.pixels - 1];
    size_t pixel = 0;
    // Reading and writing eight bytes for six, as long as another pixel lies behind.
    for (; columns.index[pixel] < last; ++pixel, to += 6) {
        const uint64_t pairs = first(pairUp(load64Bits(neighboursOf<3>(row, columns, pixel)), 0, numbers));
        __builtin_memcpy(to, &pairs, sizeof pairs);
    }
    for (; pixel < columns.pixels; ++pixel) {
        const uint8_t* from = neighboursOf<3>(row, columns, pixel);
        for (size_t channel = 0; channel < 3; ++channel, to += 2) {
            to[0] = from[channel];
            to[1] = from[channel + 3];
        }
    }
}

DORN_INLINE void gatherFour(const uint8_t* row, const LinearColumns& columns) {
    static const uint8_t numbers[16] = {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15};
    auto* to = reinterpret_cast<uint64_t*>(columns.pairs);
    size_t pixel = 0;
    for (; columns.pixels - pixel >= 2; pixel += 2) {
        store(to + pixel, pairUp(load64Bits(neighboursOf<4>(row, columns, pixel)),
                                 load64Bits(neighboursOf<4>(row, columns, pixel + 1)), numbers));
    }
    if (pixel < columns.pixels) {
        to[pixel] = first(pairUp(load64Bits(neighboursOf<4>(row, columns, pixel)), 0, numbers));
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
    return mulHighRounded(upper + mulHigh(fall, weight), splat<VecI16>(512));
}

DORN_INLINE VecU8 blend(const Blended& rows, VecI16 weights) {
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

// The same for rows shorter than two registers.
DORN_INLINE Blended loadBlendedN(const int16_t* upper, const int16_t* lower, size_t count) {
    int16_t both[2][2 * kBlock] = {};
    __builtin_memcpy(both[0], upper, count * sizeof *upper);
    __builtin_memcpy(both[1], lower, count * sizeof *lower);
    return loadBlended(both[0], both[1]);
}

// Whether two rows are worth making together. Registers as long as a cache line cross one with every store
// that isn't on a boundary, which costs more than sharing the loads saves.
DORN_INLINE bool sharesBoundaries(const uint8_t* a, const uint8_t* b) {
    return VecU8::lanes < 64 ||
           (reinterpret_cast<uintptr_t>(a) - reinterpret_cast<uintptr_t>(b)) % VecU8::lanes == 0;
}

template <int count>
struct BlendTargets {
    uint8_t* to[count];
    VecI16 weights[count];
};

template <int count>
DORN_INLINE void blendStep(const int16_t* upper, const int16_t* lower, const BlendTargets<count>& targets,
                           size_t at) {
    const Blended rows = loadBlended(upper + at, lower + at);
    for (int target = 0; target < count; ++target) {
        store(targets.to[target] + at, blend(rows, targets.weights[target]));
    }
}

template <int count>
DORN_INLINE void blendTargets(const int16_t* upper, const int16_t* lower, size_t samples,
                              const LinearTarget* from) {
    constexpr size_t step = VecU8::lanes;
    BlendTargets<count> targets;
    for (int target = 0; target < count; ++target) {
        targets.to[target] = from[target].to;
        targets.weights[target] = splat<VecI16>(from[target].weight);
    }
    if (samples < step) {
        const Blended rows = loadBlendedN(upper, lower, samples);
        for (int target = 0; target < count; ++target) {
            storeN(targets.to[target], blend(rows, targets.weights[target]), samples);
        }
        return;
    }
    // Stores that cross cache lines are slow: those between the first and the last step lie on boundaries.
    blendStep(upper, lower, targets, 0);
    size_t at = step - reinterpret_cast<uintptr_t>(targets.to[0]) % step;
    for (; at + step <= samples; at += step) {
        blendStep(upper, lower, targets, at);
    }
    if (at < samples) {
        blendStep(upper, lower, targets, samples - step);
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void LinearKernels<kVariant>::filterRow(const uint8_t* row, const LinearColumns& columns, int16_t* to) {
    if (columns.starts) {
        if constexpr (kBlock >= kLinearWideGroup) {
            if (columns.group == kLinearWideGroup) {
                filterWindows<kLinearWideGroup>(row, columns, to);
                return;
            }
        }
        filterWindows<kLinearGroup>(row, columns, to);
        return;
    }
    switch (columns.channels) {
    case 1:
        gatherOne(row, columns);
        break;
    case 3:
        gatherThree(row, columns);
        break;
    default:
        gatherFour(row, columns);
        break;
    }
    filterPairs(columns, to);
}

template <>
void LinearKernels<kVariant>::blendRows(const int16_t* upper, const int16_t* lower, size_t samples,
                                        const LinearTarget* targets, int count) {
    if (count == kLinearTargets && sharesBoundaries(targets[0].to, targets[1].to)) {
        blendTargets<kLinearTargets>(upper, lower, samples, targets);
        return;
    }
    for (int i = 0; i < count; ++i) {
        blendTargets<1>(upper, lower, samples, targets + i);
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
