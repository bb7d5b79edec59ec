#include "primitives/filter/BoxKernels.h"

#include "primitives/core/simd/Simd.h"

namespace primitives::DORN_LEVEL_NAMESPACE {

using namespace simd;

// ---------------------------------------------------------------- column sums

template <typename Columns>
DORN_INLINE typename Columns::Sum* element(Columns columns, size_t e) {
    return columns.sums + e % Columns::planes * columns.stride + e / Columns::planes;
}

// One register of pixels as 16-bit lanes.
struct Pixels {
    VecU16 even;
    VecU16 odd;
};

DORN_INLINE Pixels split(VecU8 pixels) {
    const VecU16 pairs = bitCast<VecU16>(pixels);
    return {pairs & splat<VecU16>(0xFF), pairs >> 8};
}

template <typename V>
DORN_INLINE void addTo(typename V::Lane* sums, V change) {
    store(sums, load<V>(sums) + change);
}

DORN_INLINE void moveBlock(BoxNarrowColumns columns, size_t at, VecU8 entering, VecU8 leaving) {
    const Pixels in = split(entering);
    const Pixels out = split(leaving);
    uint16_t* sums = columns.sums + at / 2;
    addTo(sums, in.even - out.even);
    addTo(sums + columns.stride, in.odd - out.odd);
}

// Of each pair of signed 16-bit lanes the one at the lower address, or the other, as a 32-bit lane.
DORN_INLINE NarrowU32 lowerOfPairs(VecU16 pairs) {
    return bitCast<NarrowU32>((bitCast<NarrowI32>(pairs) << 16) >> 16);
}

DORN_INLINE NarrowU32 upperOfPairs(VecU16 pairs) {
    return bitCast<NarrowU32>(bitCast<NarrowI32>(pairs) >> 16);
}

DORN_INLINE void moveBlock(BoxWideColumns columns, size_t at, VecU8 entering, VecU8 leaving) {
    const Pixels in = split(entering);
    const Pixels out = split(leaving);
    const VecU16 even = in.even - out.even;
    const VecU16 odd = in.odd - out.odd;
    uint32_t* sums = columns.sums + at / 4;
    addTo(sums, lowerOfPairs(even));
    addTo(sums + columns.stride, lowerOfPairs(odd));
    addTo(sums + 2 * columns.stride, upperOfPairs(even));
    addTo(sums + 3 * columns.stride, upperOfPairs(odd));
}

template <bool leaves, typename Columns>
DORN_INLINE void moveBlocks(Columns columns, size_t from, const uint8_t* entering, const uint8_t* leaving,
                            size_t count) {
    const VecU8 none = zero<VecU8>();
    size_t x = 0;
    for (; count - x >= VecU8::lanes; x += VecU8::lanes) {
        moveBlock(columns, from + x, load<VecU8>(entering + x), leaves ? load<VecU8>(leaving + x) : none);
    }
    if (x < count) {
        moveBlock(columns, from + x, loadN<VecU8>(entering + x, count - x),
                  leaves ? loadN<VecU8>(leaving + x, count - x) : none);
    }
}

template <typename Columns>
DORN_INLINE void moveSingly(Columns columns, size_t from, const uint8_t* entering, const uint8_t* leaving,
                            size_t count) {
    for (size_t x = 0; x < count; ++x) {
        columns.sums[from + x] += entering[x];
        if (leaving) {
            columns.sums[from + x] -= leaving[x];
        }
    }
}

// ---------------------------------------------------------------- means of small masks

// An unsigned division by an odd area as the upper half of a 16-bit product and a shift. The multiplier is
// 2^(16 + shift) / area rounded up, and for a dividend n the quotient is exact as long as
// n * (multiplier * area - 2^(16 + shift)) is below 2^(16 + shift).
struct SmallDivision {
    uint32_t half;
    uint32_t multiplier;
    int shift;
};

constexpr SmallDivision divisionBy(uint32_t area) {
    int shift = 0;
    while ((0x20000U << shift) / area < 0xFFFF) {
        ++shift;
    }
    return {area / 2, (0x10000U << shift) / area + 1, shift};
}

constexpr bool isExact(SmallDivision division, uint32_t area) {
    const uint64_t one = uint64_t{0x10000} << division.shift;
    return division.multiplier <= 0xFFFF &&
           (255 * area + division.half) * (uint64_t{division.multiplier} * area - one) < one;
}

// Sum of a window of 2 * radius + 1 elements for each of a register of pixels at even places and their right
// neighbours, which have all but the outermost two elements in common.
template <int radius>
DORN_INLINE VecU8 meansOfPairs(const uint16_t* const (&columns)[2 * radius + 2], size_t at) {
    constexpr uint32_t area = (2 * radius + 1) * (2 * radius + 1);
    constexpr SmallDivision division = divisionBy(area);
    static_assert(isExact(division, area));
    VecU16 common = splat<VecU16>(static_cast<uint16_t>(division.half));
#pragma GCC unroll 8
    for (int k = 1; k <= 2 * radius; ++k) {
        common += load<VecU16>(columns[k] + at);
    }
    const VecU16 multiplier = splat<VecU16>(static_cast<uint16_t>(division.multiplier));
    const VecU16 even = mulHigh(common + load<VecU16>(columns[0] + at), multiplier) >> division.shift;
    const VecU16 odd =
        mulHigh(common + load<VecU16>(columns[2 * radius + 1] + at), multiplier) >> division.shift;
    return bitCast<VecU8>(even | odd << 8);
}

template <int radius>
DORN_INLINE void writeSmall(BoxNarrowColumns columns, const BoxWindows& windows, uint8_t* to) {
    const uint16_t* in[2 * radius + 2];
    for (size_t k = 0; k < 2 * radius + 2; ++k) {
        in[k] = element(columns, windows.before + 1 + k);
    }
    const size_t count = windows.count;
    size_t x = 0;
    for (; count - x >= VecU8::lanes; x += VecU8::lanes) {
        store(to + x, meansOfPairs<radius>(in, x / 2));
    }
    if (x < count) {
        storeN(to + x, meansOfPairs<radius>(in, x / 2), count - x);
    }
}

// ---------------------------------------------------------------- means of running sums

// A register of 32-bit lanes takes groups of four pixels, one in each lane. What the sum gains over whole
// groups is added up across the register, and the sums within a group follow from the last one.
template <typename V>
struct Groups {
    V gain; // of the group, its pixels' changes together
    V change1;
    V change2;
    V change3;
};

template <typename V>
DORN_INLINE V meansOf(V sums, float recip) {
    using Signed = Vec<int32_t, V::lanes>;
    using Float = Vec<float, V::lanes>;
    const Float means = toFloat(bitCast<Signed>(sums)) * splat<Float>(recip) + splat<Float>(0.5F);
    return bitCast<V>(truncateInt(means));
}

// `sumBefore` has the sum in front of the first group in every lane, and moves on to the next register.
template <typename V>
DORN_INLINE Vec<uint8_t, 4 * V::lanes> meansOfGroups(Groups<V> groups, float recip, V& sumBefore) {
    const V running = prefixSum(groups.gain);
    const V sum3 = running + sumBefore;
    sumBefore += broadcastLast(running);
    const V sum2 = sum3 - groups.change3;
    const V sum1 = sum2 - groups.change2;
    const V sum0 = sum1 - groups.change1;
    return bitCast<Vec<uint8_t, 4 * V::lanes>>((meansOf(sum0, recip) | meansOf(sum1, recip) << 8) |
                                               (meansOf(sum2, recip) << 16 | meansOf(sum3, recip) << 24));
}

// Where the elements that enter and leave the windows lie: those of a row's first pixels, plane by plane.
template <typename Columns>
struct Ends {
    const typename Columns::Sum* leading[Columns::planes];
    const typename Columns::Sum* trailing[Columns::planes];
};

DORN_INLINE Groups<NarrowU32> loadGroups(const Ends<BoxNarrowColumns>& ends, size_t x) {
    const VecU16 even = load<VecU16>(ends.leading[0] + x / 2) - load<VecU16>(ends.trailing[0] + x / 2);
    const VecU16 odd = load<VecU16>(ends.leading[1] + x / 2) - load<VecU16>(ends.trailing[1] + x / 2);
    const VecI16 one = splat<VecI16>(1);
    const NarrowI32 gain = mulPairs(bitCast<VecI16>(even), one) + mulPairs(bitCast<VecI16>(odd), one);
    return {bitCast<NarrowU32>(gain), lowerOfPairs(odd), upperOfPairs(even), upperOfPairs(odd)};
}

DORN_INLINE Groups<VecU32> loadGroups(const Ends<BoxWideColumns>& ends, size_t x) {
    const auto change = [&ends, x ](size_t plane) __attribute__((always_inline)) {
        return load<VecU32>(ends.leading[plane] + x / 4) - load<VecU32>(ends.trailing[plane] + x / 4);
    };
    const VecU32 change1 = change(1);
    const VecU32 change2 = change(2);
    const VecU32 change3 = change(3);
    return {(change(0) + change1) + (change2 + change3), change1, change2, change3};
}

template <typename V, typename Columns>
DORN_INLINE void writeRunning(Columns columns, const BoxWindows& windows, uint8_t* to) {
    Ends<Columns> ends;
    for (size_t plane = 0; plane < Columns::planes; ++plane) {
        ends.trailing[plane] = element(columns, windows.before + plane);
        ends.leading[plane] = element(columns, windows.before + windows.maskWidth + plane);
    }
    constexpr size_t step = 4 * V::lanes;
    const size_t count = windows.count;
    const float recip = windows.recip;
    V sumBefore = splat<V>(static_cast<uint32_t>(windows.startSum));
    size_t x = 0;
    for (; count - x >= step; x += step) {
        store(to + x, meansOfGroups(loadGroups(ends, x), recip, sumBefore));
    }
    if (x < count) {
        storeN(to + x, meansOfGroups(loadGroups(ends, x), recip, sumBefore), count - x);
    }
}

template <typename Columns>
DORN_INLINE void writeSingly(Columns columns, const BoxWindows& windows, uint8_t* to) {
    const typename Columns::Sum* trailing = columns.sums + windows.before;
    const typename Columns::Sum* leading = trailing + windows.maskWidth;
    const size_t count = windows.count;
    const float recip = windows.recip;
    uint64_t sum = windows.startSum;
    for (size_t x = 0; x < count; ++x) {
        sum += leading[x];
        sum -= trailing[x];
        const float mean = static_cast<float>(static_cast<int64_t>(sum)) * recip;
        to[x] = static_cast<uint8_t>(static_cast<int>(mean + 0.5F));
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void BoxKernels<kVariant>::moveColumns(BoxNarrowColumns columns, size_t from, const uint8_t* entering,
                                       const uint8_t* leaving, size_t count) {
    if (leaving) {
        moveBlocks<true>(columns, from, entering, leaving, count);
    } else {
        moveBlocks<false>(columns, from, entering, leaving, count);
    }
}

template <>
void BoxKernels<kVariant>::moveColumns(BoxWideColumns columns, size_t from, const uint8_t* entering,
                                       const uint8_t* leaving, size_t count) {
    if (leaving) {
        moveBlocks<true>(columns, from, entering, leaving, count);
    } else {
        moveBlocks<false>(columns, from, entering, leaving, count);
    }
}

template <>
void BoxKernels<kVariant>::moveColumns(BoxPlainColumns columns, size_t from, const uint8_t* entering,
                                       const uint8_t* leaving, size_t count) {
    moveSingly(columns, from, entering, leaving, count);
}

template <>
void BoxKernels<kVariant>::moveColumns(BoxTallColumns columns, size_t from, const uint8_t* entering,
                                       const uint8_t* leaving, size_t count) {
    moveSingly(columns, from, entering, leaving, count);
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxNarrowColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeRunning<simd::NarrowU32>(columns, windows, to);
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxWideColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeRunning<simd::VecU32>(columns, windows, to);
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxPlainColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeSingly(columns, windows, to);
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxTallColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeSingly(columns, windows, to);
}

template <>
void BoxKernels<kVariant>::writeSmallMeans(BoxNarrowColumns columns, const BoxWindows& windows, uint8_t* to) {
    if (windows.maskWidth == 3) {
        writeSmall<1>(columns, windows, to);
    } else if (windows.maskWidth == 5) {
        writeSmall<2>(columns, windows, to);
    } else {
        writeSmall<3>(columns, windows, to);
    }
}

} // namespace primitives
