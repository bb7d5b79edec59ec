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

DORN_INLINE void moveBlock(BoxSmallColumns columns, size_t at, VecU8 entering, VecU8 leaving) {
    const Pixels in = split(entering);
    const Pixels out = split(leaving);
    uint16_t* sums = columns.sums + at / 2;
    addTo(sums, in.even - out.even);
    addTo(sums + columns.stride, in.odd - out.odd);
}

// Signed 16-bit lanes in pairs, as 32-bit lanes.
DORN_INLINE NarrowU32 lowerOfPairs(VecU16 pairs) {
    return bitCast<NarrowU32>((bitCast<NarrowI32>(pairs) << 16) >> 16);
}

DORN_INLINE NarrowU32 upperOfPairs(VecU16 pairs) {
    return bitCast<NarrowU32>(bitCast<NarrowI32>(pairs) >> 16);
}

DORN_INLINE void moveBlock(BoxVectorColumns columns, size_t at, VecU8 entering, VecU8 leaving) {
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
DORN_INLINE void writeSmall(BoxSmallColumns columns, const BoxWindows& windows, uint8_t* to) {
    const uint16_t* in[2 * radius + 2];
    for (size_t k = 0; k < 2 * radius + 2; ++k) {
        in[k] = element(columns, windows.before + 1 + k);
    }
    size_t x = 0;
    for (; windows.count - x >= VecU8::lanes; x += VecU8::lanes) {
        store(to + x, meansOfPairs<radius>(in, x / 2));
    }
    if (x < windows.count) {
        storeN(to + x, meansOfPairs<radius>(in, x / 2), windows.count - x);
    }
}

// ---------------------------------------------------------------- means of running sums

DORN_INLINE VecU32 meansOf(VecU32 sums, VecF32 recip) {
    const VecF32 means = toFloat(bitCast<VecI32>(sums)) * recip + splat<VecF32>(0.5F);
    return bitCast<VecU32>(truncateInt(means));
}

// The running sum is taken over whole groups of four elements only; the sums between follow from it.
DORN_INLINE VecU32 meansOfGroups(const uint32_t* const (&leading)[4], const uint32_t* const (&trailing)[4],
                                 size_t at, VecF32 recip, VecU32& sumBefore) {
    const VecU32 change0 = load<VecU32>(leading[0] + at) - load<VecU32>(trailing[0] + at);
    const VecU32 change1 = load<VecU32>(leading[1] + at) - load<VecU32>(trailing[1] + at);
    const VecU32 change2 = load<VecU32>(leading[2] + at) - load<VecU32>(trailing[2] + at);
    const VecU32 change3 = load<VecU32>(leading[3] + at) - load<VecU32>(trailing[3] + at);
    const VecU32 running = prefixSum((change0 + change1) + (change2 + change3));
    const VecU32 sum3 = running + sumBefore;
    sumBefore += broadcastLast(running);
    const VecU32 sum2 = sum3 - change3;
    const VecU32 sum1 = sum2 - change2;
    const VecU32 sum0 = sum1 - change1;
    return (meansOf(sum0, recip) | meansOf(sum1, recip) << 8) |
           (meansOf(sum2, recip) << 16 | meansOf(sum3, recip) << 24);
}

template <typename Columns>
DORN_INLINE void writeSingly(Columns columns, const BoxWindows& windows, uint8_t* to) {
    const typename Columns::Sum* trailing = columns.sums + windows.before;
    const typename Columns::Sum* leading = trailing + windows.maskWidth;
    uint64_t sum = windows.startSum;
    for (size_t x = 0; x < windows.count; ++x) {
        sum += leading[x];
        sum -= trailing[x];
        const float mean = static_cast<float>(static_cast<int64_t>(sum)) * windows.recip;
        to[x] = static_cast<uint8_t>(static_cast<int>(mean + 0.5F));
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

using namespace DORN_LEVEL_NAMESPACE;

template <>
void BoxKernels<kVariant>::moveColumns(BoxSmallColumns columns, size_t from, const uint8_t* entering,
                                       const uint8_t* leaving, size_t count) {
    if (leaving) {
        moveBlocks<true>(columns, from, entering, leaving, count);
    } else {
        moveBlocks<false>(columns, from, entering, leaving, count);
    }
}

template <>
void BoxKernels<kVariant>::moveColumns(BoxVectorColumns columns, size_t from, const uint8_t* entering,
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
void BoxKernels<kVariant>::writeMeans(BoxSmallColumns columns, const BoxWindows& windows, uint8_t* to) {
    if (windows.maskWidth == 3) {
        writeSmall<1>(columns, windows, to);
    } else if (windows.maskWidth == 5) {
        writeSmall<2>(columns, windows, to);
    } else {
        writeSmall<3>(columns, windows, to);
    }
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxVectorColumns columns, const BoxWindows& windows, uint8_t* to) {
    const uint32_t* trailing[4];
    const uint32_t* leading[4];
    for (size_t k = 0; k < 4; ++k) {
        trailing[k] = element(columns, windows.before + k);
        leading[k] = element(columns, windows.before + windows.maskWidth + k);
    }
    constexpr size_t step = 4 * VecU32::lanes;
    using Bytes = Vec<uint8_t, static_cast<int>(step)>;
    const VecF32 recip = splat<VecF32>(windows.recip);
    VecU32 sumBefore = splat<VecU32>(static_cast<uint32_t>(windows.startSum));
    size_t x = 0;
    for (; windows.count - x >= step; x += step) {
        store(to + x, bitCast<Bytes>(meansOfGroups(leading, trailing, x / 4, recip, sumBefore)));
    }
    if (x < windows.count) {
        storeN(to + x, bitCast<Bytes>(meansOfGroups(leading, trailing, x / 4, recip, sumBefore)),
               windows.count - x);
    }
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxPlainColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeSingly(columns, windows, to);
}

template <>
void BoxKernels<kVariant>::writeMeans(BoxTallColumns columns, const BoxWindows& windows, uint8_t* to) {
    writeSingly(columns, windows, to);
}

} // namespace primitives
