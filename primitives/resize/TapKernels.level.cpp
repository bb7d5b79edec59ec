#include "primitives/resize/TapKernels.h"

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

// As wide as the registers that their pixels leave in.
using Floats = NarrowF32;
using Ints = NarrowI32;

constexpr size_t kBlock = Floats::lanes;
static_assert(kBlock == tapBlock(kVariant));

// Samples of a register of bytes.
constexpr size_t kStep = VecU8::lanes;
static_assert(kStep == 4 * kBlock);

// ---------------------------------------------------------------- sums

enum class TapOrder { leftToRight, pairs, endsFirst };

template <int count, TapOrder tapOrder, bool fusesSteps>
struct TapSum {
    static constexpr int taps = count;
    static constexpr TapOrder order = tapOrder;
    static constexpr bool fuses = fusesSteps;
};

using Cubic = TapSum<4, kFusesMulAdd ? TapOrder::pairs : TapOrder::leftToRight, kFusesMulAdd>;
using Lanczos2 = TapSum<4, TapOrder::leftToRight, kFusesMulAdd>;
using Lanczos3 = TapSum<6, TapOrder::leftToRight, kFusesMulAdd>;
using Edge4Row = TapSum<4, TapOrder::endsFirst, false>;
using Edge4Column = TapSum<4, TapOrder::leftToRight, false>;
using Edge6 = TapSum<6, TapOrder::leftToRight, false>;

template <typename Sum>
DORN_INLINE Floats addProduct(Floats sum, Floats value, Floats weight) {
    if constexpr (Sum::fuses) {
        return mulAdd(value, weight, sum);
    } else {
        return sum + value * weight;
    }
}

template <typename Sum>
DORN_INLINE Floats sumOf(const Floats (&values)[Sum::taps], const Floats (&weights)[Sum::taps]) {
    Floats sum = values[0] * weights[0];
    if constexpr (Sum::order == TapOrder::pairs) {
        return mulAdd(values[0], weights[0], values[1] * weights[1]) +
               mulAdd(values[2], weights[2], values[3] * weights[3]);
    } else {
        constexpr bool endsFirst = Sum::order == TapOrder::endsFirst;
        if constexpr (endsFirst) {
            sum = addProduct<Sum>(sum, values[Sum::taps - 1], weights[Sum::taps - 1]);
        }
#pragma GCC unroll 8
        for (int tap = 1; tap < Sum::taps - (endsFirst ? 1 : 0); ++tap) {
            sum = addProduct<Sum>(sum, values[tap], weights[tap]);
        }
        return sum;
    }
}

// ---------------------------------------------------------------- horizontal pass

// The bytes of a block of samples, from windows of the source row.
template <int taps, size_t group>
struct WindowBytes {
    const uint8_t* row;
    const uint8_t* next; // the row that is expected next
    size_t distance;     // from tap to tap
    const int32_t* starts;
    const uint8_t* numbers;
};

template <size_t group>
DORN_INLINE VecU8 loadWindows(const uint8_t* row, const int32_t* starts) {
    if constexpr (group == kBlock) {
        return loadSameBlocks<VecU8>(row + *starts);
    } else if constexpr (group == kTapGroup) {
        return loadBlocks<VecU8>(row, starts);
    } else {
        return loadTwinBlocks<VecU8>(row, starts);
    }
}

template <int taps, size_t group>
DORN_INLINE void loadValues(const WindowBytes<taps, group>& bytes, size_t at, Floats (&values)[taps]) {
    const VecU8 numbers = load<VecU8>(bytes.numbers + at * sizeof(float));
    prefetch(bytes.next + bytes.starts[at / group]);
#pragma GCC unroll 8
    for (int tap = 0; tap < taps; ++tap) {
        const uint8_t* row = bytes.row + static_cast<size_t>(tap) * bytes.distance;
        const VecU8 window = loadWindows<group>(row, bytes.starts + at / group);
        values[tap] = toFloat(bitCast<Ints>(lookupBlocks(window, numbers)));
    }
}

// The same, tap by tap in memory.
template <int taps>
struct GatheredBytes {
    const uint8_t* bytes;
    size_t last; // where the last block begins
};

template <int taps>
DORN_INLINE void loadValues(const GatheredBytes<taps>& bytes, size_t at, Floats (&values)[taps]) {
    at = at < bytes.last ? at : bytes.last;
#pragma GCC unroll 8
    for (int tap = 0; tap < taps; ++tap) {
        values[tap] = loadPromote<Floats>(bytes.bytes + static_cast<size_t>(tap) * kTapSamples + at);
    }
}

template <typename Sum, typename Bytes>
DORN_INLINE Floats filterBlock(const Bytes& bytes, const float* weights, size_t at) {
    Floats values[Sum::taps];
    Floats factors[Sum::taps];
    loadValues(bytes, at, values);
#pragma GCC unroll 8
    for (int tap = 0; tap < Sum::taps; ++tap) {
        factors[tap] = load<Floats>(weights + at * Sum::taps + static_cast<size_t>(tap) * kBlock);
    }
    return sumOf<Sum>(values, factors);
}

template <typename Sum, typename Bytes>
DORN_INLINE void filterBlocks(const Bytes& bytes, const float* weights, size_t samples, float* to) {
    size_t at = 0;
    for (; at + kBlock <= samples; at += kBlock) {
        store(to + at, filterBlock<Sum>(bytes, weights, at));
    }
    if (at < samples) {
        const Floats last = filterBlock<Sum>(bytes, weights, at);
        if (samples >= kBlock) {
            store(to + samples - kBlock, last);
        } else if constexpr (sizeof last <= kTapRowAlignment) {
            store(to, last);
        } else {
            storeN(to, last, samples);
        }
    }
}

template <int taps, size_t channels>
DORN_INLINE void gather(const uint8_t* row, const TapColumns& columns) {
    uint8_t* to = columns.gathered;
    for (size_t pixel = 0; pixel < columns.pixels; ++pixel, to += channels) {
        const int32_t* index = columns.index + pixel + (pixel < columns.split ? 0 : columns.gap);
        const int64_t first = int64_t{*index} - columns.shift;
#pragma GCC unroll 8
        for (int tap = 0; tap < taps; ++tap) {
            int64_t at = first + tap;
            at = at < columns.low ? columns.low : at > columns.high ? columns.high : at;
            const uint8_t* from = row + at * static_cast<int64_t>(channels);
#pragma GCC unroll 4
            for (size_t channel = 0; channel < channels; ++channel) {
                to[static_cast<size_t>(tap) * kTapSamples + channel] = from[channel];
            }
        }
    }
}

template <int taps>
static void gather(const uint8_t* row, const TapColumns& columns) {
    switch (columns.channels) {
    case 1:
        gather<taps, 1>(row, columns);
        break;
    case 3:
        gather<taps, 3>(row, columns);
        break;
    default:
        gather<taps, 4>(row, columns);
        break;
    }
}

template <typename Sum>
static void filterGathered(const uint8_t* row, const TapColumns& columns, float* to) {
    gather<Sum::taps>(row, columns);
    const size_t last = columns.samples < kBlock ? 0 : columns.samples - kBlock;
    filterBlocks<Sum>(GatheredBytes<Sum::taps>{columns.gathered, last}, columns.weights, columns.samples, to);
}

template <typename Sum, size_t group>
static void filterWindows(const uint8_t* row, const uint8_t* next, const TapColumns& columns, float* to) {
    const WindowBytes<Sum::taps, group> bytes{row, next, columns.channels, columns.starts, columns.numbers};
    filterBlocks<Sum>(bytes, columns.weights, columns.samples, to);
}

template <typename Sum>
DORN_INLINE void filterRowOf(const uint8_t* row, const uint8_t* next, const TapColumns& columns, float* to) {
    if constexpr (tapWindows(kVariant)) {
        if constexpr (kBlock >= kTapWidestGroup) {
            if (columns.group == kTapWidestGroup) {
                filterWindows<Sum, kTapWidestGroup>(row, next, columns, to);
                return;
            }
        }
        if constexpr (kBlock >= kTapWideGroup) {
            if (columns.group == kTapWideGroup) {
                filterWindows<Sum, kTapWideGroup>(row, next, columns, to);
                return;
            }
        }
        if (columns.group == kTapGroup) {
            filterWindows<Sum, kTapGroup>(row, next, columns, to);
            return;
        }
    }
    filterGathered<Sum>(row, columns, to);
}

// ---------------------------------------------------------------- vertical pass

template <typename Sum>
DORN_INLINE void spread(const float* weights, Floats (&to)[Sum::taps]) {
#pragma GCC unroll 8
    for (int tap = 0; tap < Sum::taps; ++tap) {
        to[tap] = splat<Floats>(weights[tap]);
    }
}

template <typename Sum>
DORN_INLINE void loadRows(const float* const* rows, size_t at, Floats (&values)[Sum::taps]) {
#pragma GCC unroll 8
    for (int tap = 0; tap < Sum::taps; ++tap) {
        values[tap] = load<Floats>(rows[tap] + at);
    }
}

// Four dwords of each block, in the order of the vectors that they came from.
struct RestoreOrder {
    static constexpr int blocks = Ints::lanes / 4;
    static constexpr int at(int i) { return i % blocks * 4 + i / blocks; }
};

DORN_INLINE VecU8 toBytes(VecI16 lower, VecI16 upper) {
    const Ints bytes = bitCast<Ints>(demoteBlocks<VecU8>(lower, upper));
    return bitCast<VecU8>(shuffle<RestoreOrder>(bytes, bytes));
}

template <typename Sum, int count>
struct BlendTargets {
    uint8_t* to[count];
    const uint8_t* next[count];
    Floats weights[count][Sum::taps];
};

template <typename Sum, int count>
DORN_INLINE void blendStep(const float* const* rows, const BlendTargets<Sum, count>& targets, size_t at) {
    VecI16 words[count][2];
#pragma GCC unroll 2
    for (size_t half = 0; half < 2; ++half) {
        Ints pixels[count][2];
#pragma GCC unroll 2
        for (size_t part = 0; part < 2; ++part) {
            Floats values[Sum::taps];
            loadRows<Sum>(rows, at + (2 * half + part) * kBlock, values);
#pragma GCC unroll 2
            for (int target = 0; target < count; ++target) {
                pixels[target][part] = nearestInt(sumOf<Sum>(values, targets.weights[target]));
            }
        }
#pragma GCC unroll 2
        for (int target = 0; target < count; ++target) {
            words[target][half] = demoteBlocks<VecI16>(pixels[target][0], pixels[target][1]);
        }
    }
#pragma GCC unroll 2
    for (int target = 0; target < count; ++target) {
        prefetch(targets.next[target] + at);
        store(targets.to[target] + at, toBytes(words[target][0], words[target][1]));
    }
}

// Block by block. Sums that an integer doesn't hold are `large`.
template <typename Sum, bool large>
static void blendBlocks(const float* const* rows, size_t samples, TapTarget target) {
    Floats weights[Sum::taps];
    spread<Sum>(target.weights, weights);
    for (size_t at = 0; at < samples; at += kBlock) {
        Floats values[Sum::taps];
        loadRows<Sum>(rows, at, values);
        Floats sum = sumOf<Sum>(values, weights);
        if constexpr (large) {
            sum = clamp(sum, zero<Floats>(), splat<Floats>(255.0F));
        }
        if (samples - at >= kBlock) {
            demoteStore(target.to + at, nearestInt(sum));
        } else {
            demoteStoreN(target.to + at, nearestInt(sum), samples - at);
        }
    }
}

template <typename Sum, int count>
static void blendSteps(const float* const* rows, size_t samples, const TapTarget* from) {
    BlendTargets<Sum, count> targets;
#pragma GCC unroll 2
    for (int target = 0; target < count; ++target) {
        targets.to[target] = from[target].to;
        targets.next[target] = from[target].next;
        spread<Sum>(from[target].weights, targets.weights[target]);
    }
    size_t at = 0;
    for (; at + kStep <= samples; at += kStep) {
        blendStep(rows, targets, at);
    }
    if (at < samples) {
        blendStep(rows, targets, samples - kStep);
    }
}

template <typename Sum>
DORN_INLINE void blendRowsOf(const float* const* rows, size_t samples, const TapTarget* targets, int count) {
    if (samples < kStep) {
        for (int i = 0; i < count; ++i) {
            blendBlocks<Sum, false>(rows, samples, targets[i]);
        }
    } else if (count == kTapTargets) {
        blendSteps<Sum, kTapTargets>(rows, samples, targets);
    } else {
        blendSteps<Sum, 1>(rows, samples, targets);
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void TapKernels<kVariant>::filterRow(TapForm form, const uint8_t* row, const uint8_t* next,
                                     const TapColumns& columns, float* to) {
    switch (form) {
    case TapForm::cubic:
        filterRowOf<Cubic>(row, next, columns, to);
        break;
    case TapForm::lanczos2:
        filterRowOf<Lanczos2>(row, next, columns, to);
        break;
    case TapForm::lanczos3:
        filterRowOf<Lanczos3>(row, next, columns, to);
        break;
    case TapForm::edge4:
        filterRowOf<Edge4Row>(row, next, columns, to);
        break;
    case TapForm::edge6:
        filterRowOf<Edge6>(row, next, columns, to);
        break;
    }
}

template <>
void TapKernels<kVariant>::blendRows(TapForm form, const float* const* rows, size_t samples,
                                     const TapTarget* targets, int count) {
    switch (form) {
    case TapForm::cubic:
        blendRowsOf<Cubic>(rows, samples, targets, count);
        break;
    case TapForm::lanczos2:
        blendRowsOf<Lanczos2>(rows, samples, targets, count);
        break;
    case TapForm::lanczos3:
        blendRowsOf<Lanczos3>(rows, samples, targets, count);
        break;
    case TapForm::edge4:
        blendRowsOf<Edge4Column>(rows, samples, targets, count);
        break;
    case TapForm::edge6:
        blendRowsOf<Edge6>(rows, samples, targets, count);
        break;
    }
}

template <>
void TapKernels<kVariant>::blendLargeRow(TapForm form, const float* const* rows, size_t samples,
                                         TapTarget target) {
    if (form == TapForm::cubic) {
        blendBlocks<Cubic, true>(rows, samples, target);
    } else {
        blendBlocks<Edge4Column, true>(rows, samples, target);
    }
}

} // namespace primitives
