// The Gaussian filter in exact integers, for kernels whose results are bytes after either pass: no tap is
// negative, and they add up to so little that 255 stays below 256. Part of FilterGaussian.level.cpp.
//
// A tap has 13 bits. It is split into a multiple of 32 and a rest, each of which fits a signed byte, and
// pixels are multiplied by both, two neighbours with two taps at once. A sum of pixels by taps is then 32
// high + low with high and low in 16 bits, and
//
//     (32 high + low) / 4096  =  (high + low / 32) / 128,
//
// every quotient rounded down: nothing is lost. The low sum alone could grow too large with many taps; it is
// then carried over into the high sum from time to time.
//
// Two rows of the intermediate share a slot of the ring, byte by byte, so that the column pass finds
// neighbours side by side too, and makes two rows of the destination from what it loads. Multiplications
// dominate: eight for each two taps and 32 bytes of two rows, in either pass.

namespace primitives::DORN_LEVEL_NAMESPACE {

using simd::bitCast;
using simd::load;
using simd::splat;
using simd::store;

using Bytes = simd::VecU8;
using Words = simd::VecU16;
using Products = simd::VecI16;
using TapBytes = simd::Vec<int8_t, Bytes::lanes>;
using Dwords = simd::Vec<uint32_t, Bytes::lanes / 4>;

constexpr ptrdiff_t kBlock = Bytes::lanes;

constexpr int kLowBits = 5;
constexpr int kHighestTapByte = 127;

// Sums of taps up to this give at most 255: 255 * 4112 < 256 * 4096.
constexpr int32_t kLargestByteSum = 4112;
constexpr uint32_t kByteShift = 12;

// This many pairs of low products fit 16 bits for any taps: 4 * 2 * 31 * 255 + 31.
constexpr ptrdiff_t kSafePairs = 4;

// Two neighbouring taps, ready to be repeated through a vector.
struct TapPair {
    uint32_t high;
    uint32_t low;
};

DORN_INLINE TapPair tapPair(int first, int second) {
    const int firstHigh = first >> kLowBits < kHighestTapByte ? first >> kLowBits : kHighestTapByte;
    const int secondHigh = second >> kLowBits < kHighestTapByte ? second >> kLowBits : kHighestTapByte;
    const int firstLow = first - (firstHigh << kLowBits);
    const int secondLow = second - (secondHigh << kLowBits);
    return {static_cast<uint32_t>(firstHigh | secondHigh << 8) * 0x10001U,
            static_cast<uint32_t>(firstLow | secondLow << 8) * 0x10001U};
}

// How the work buffer is used, and how rows are cut into blocks.
struct BytePlan {
    ptrdiff_t pairs;        // of taps, the last one filled up with 0
    ptrdiff_t group;        // pairs between two carries
    TapPair* evenTaps;      // t0 t1, t2 t3, ...: for a row, and for output rows of even number
    TapPair* oddTaps;       // 0 t0, t1 t2, ...
    const uint8_t** column; // the slots that an output row needs, in order
    uint8_t* ring;
    uint8_t* constantSlot;
    ptrdiff_t slotBytes;
    uint8_t* padded[2]; // two rows with what lies beyond them
    ptrdiff_t blocks;
    ptrdiff_t reach;      // of the kernel to either side
    ptrdiff_t overread;   // bytes beyond the reach that are loaded and multiplied by 0
    ptrdiff_t leftEnd;    // blocks before this one need padding on the left
    ptrdiff_t rightBegin; // this block and those behind it need padding on the right
};

// The last block ends with the row and overlaps the one before it.
DORN_INLINE ptrdiff_t blockAt(const GaussianJob& job, ptrdiff_t block) {
    return smaller(block * kBlock, job.rowBytes - kBlock);
}

DORN_INLINE bool suitsBytes(const GaussianJob& job) {
    if (job.scaleShift != kByteShift || job.rowBytes < kBlock || job.dstStep < job.rowBytes) {
        return false;
    }
    int32_t sum = 0;
    for (ptrdiff_t i = 0; i < job.kernel; ++i) {
        sum += job.taps[i];
        if (job.taps[i] < 0 || sum > kLargestByteSum) {
            return false;
        }
    }
    return true;
}

DORN_INLINE void planTaps(const GaussianJob& job, BytePlan& plan) {
    int32_t lowSum = 0;
    for (ptrdiff_t pair = 0; pair < plan.pairs; ++pair) {
        const int before = pair > 0 ? job.taps[2 * pair - 1] : 0;
        const int tap = job.taps[2 * pair];
        const int behind = 2 * pair + 1 < job.kernel ? job.taps[2 * pair + 1] : 0;
        plan.evenTaps[pair] = tapPair(tap, behind);
        plan.oddTaps[pair] = tapPair(before, tap);
        lowSum +=
            static_cast<int32_t>((plan.evenTaps[pair].low & 0xFF) + (plan.evenTaps[pair].low >> 8 & 0xFF));
    }
    plan.group = lowSum * 255 + 31 <= 0xFFFF ? plan.pairs : kSafePairs;
}

// Blocks that need no padding lie between leftEnd and rightBegin. When padding both ends would take as much
// room as the whole row, the whole row is padded.
DORN_INLINE void planBlocks(const GaussianJob& job, BytePlan& plan) {
    const bool left = (job.border & ippBorderInMemLeft) != 0;
    const bool right = (job.border & ippBorderInMemRight) != 0;
    const ptrdiff_t readable = job.rowBytes + (right ? plan.reach : 0);
    const ptrdiff_t loaded = kBlock + plan.reach + plan.overread;
    plan.leftEnd = left ? 0 : roundUp(plan.reach, kBlock) / kBlock;
    plan.rightBegin = plan.blocks;
    while (plan.rightBegin > 0 && blockAt(job, plan.rightBegin - 1) + loaded > readable) {
        --plan.rightBegin;
    }
    const ptrdiff_t leftBytes = plan.leftEnd * kBlock + 2 * plan.reach;
    const ptrdiff_t rightBytes = job.rowBytes - blockAt(job, plan.rightBegin) + 2 * plan.reach;
    if (plan.leftEnd >= plan.rightBegin || leftBytes + rightBytes + 2 * plan.overread > job.rowBytes) {
        plan.leftEnd = plan.blocks;
        plan.rightBegin = plan.blocks;
    }
}

DORN_INLINE BytePlan planBytes(const GaussianJob& job) {
    BytePlan plan;
    plan.pairs = (job.kernel + 1) / 2;
    plan.blocks = (job.rowBytes + kBlock - 1) / kBlock;
    plan.slotBytes = 2 * plan.blocks * kBlock;
    plan.reach = job.radius * job.channels;
    plan.overread = job.channels == 1 ? 1 : 0;

    const uintptr_t start = (reinterpret_cast<uintptr_t>(job.buffer) + 63) / 64 * 64;
    plan.ring = reinterpret_cast<uint8_t*>(start);
    plan.constantSlot = plan.ring + plan.pairs * plan.slotBytes;
    plan.evenTaps = reinterpret_cast<TapPair*>(plan.constantSlot + plan.slotBytes);
    plan.oddTaps = plan.evenTaps + plan.pairs;
    plan.column = reinterpret_cast<const uint8_t**>(plan.oddTaps + plan.pairs);
    plan.padded[0] = reinterpret_cast<uint8_t*>(plan.column + plan.pairs);
    plan.padded[1] = plan.padded[0] + job.rowBytes + 2 * plan.reach + plan.overread;

    planTaps(job, plan);
    planBlocks(job, plan);
    return plan;
}

// The taps of one pass: in registers when their number is known, else repeated from memory where they are
// needed.
template <int pairs>
struct TapVectors {
    TapBytes highs[pairs];
    TapBytes lows[pairs];

    DORN_INLINE TapVectors make(const TapPair* taps) {
        TapVectors vectors;
        for (int i = 0; i < pairs; ++i) {
            vectors.highs[i] = bitCast<TapBytes>(splat<Dwords>(taps[i].high));
            vectors.lows[i] = bitCast<TapBytes>(splat<Dwords>(taps[i].low));
        }
        return vectors;
    }

    __attribute__((always_inline)) TapBytes high(ptrdiff_t i) const { return highs[i]; }
    __attribute__((always_inline)) TapBytes low(ptrdiff_t i) const { return lows[i]; }
};

template <>
struct TapVectors<0> {
    const TapPair* taps;

    DORN_INLINE TapVectors make(const TapPair* taps) { return {taps}; }

    __attribute__((always_inline)) TapBytes high(ptrdiff_t i) const {
        return bitCast<TapBytes>(splat<Dwords>(taps[i].high));
    }
    __attribute__((always_inline)) TapBytes low(ptrdiff_t i) const {
        return bitCast<TapBytes>(splat<Dwords>(taps[i].low));
    }
};

// Sums of pixels by taps.
struct Sum {
    Products high = simd::zero<Products>();
    Products low = simd::zero<Products>();
};

DORN_INLINE void addPair(Sum& sum, Bytes pixels, TapBytes high, TapBytes low) {
    sum.high += simd::mulPairs(pixels, high);
    sum.low += simd::mulPairs(pixels, low);
}

DORN_INLINE void carry(Sum& sum) {
    sum.high += bitCast<Products>(bitCast<Words>(sum.low) >> kLowBits);
    sum.low = sum.low & splat<Products>((1 << kLowBits) - 1);
}

// 128 times the quotient by 4096, and a fraction.
DORN_INLINE Words scaled(const Sum& sum) {
    return bitCast<Words>(sum.high) + (bitCast<Words>(sum.low) >> kLowBits);
}

// Quotients of `even` in the even bytes, of `odd` in the odd ones.
DORN_INLINE Bytes alternate(const Sum& even, const Sum& odd) {
    return bitCast<Bytes>(scaled(even) >> 7 | (scaled(odd) << 1 & splat<Words>(0xFF00)));
}

// The four sums that a step of either pass makes: of the upper and the lower row, two vectors each.
struct Sums {
    Sum upperFirst;
    Sum upperSecond;
    Sum lowerFirst;
    Sum lowerSecond;
};

// Calls addPairAt(sums, pair) for all pairs of taps.
template <int pairs, typename AddPairAt>
DORN_INLINE Sums sumPairs(const BytePlan& plan, AddPairAt addPairAt) {
    Sums sums;
    if constexpr (pairs > 0) {
#pragma GCC unroll 4
        for (int pair = 0; pair < pairs; ++pair) {
            addPairAt(sums, pair);
        }
    } else {
        for (ptrdiff_t pair = 0;;) {
            const ptrdiff_t end = smaller(pair + plan.group, plan.pairs);
            for (; pair < end; ++pair) {
                addPairAt(sums, pair);
            }
            if (end == plan.pairs) {
                break;
            }
            carry(sums.upperFirst);
            carry(sums.upperSecond);
            carry(sums.lowerFirst);
            carry(sums.lowerSecond);
        }
    }
    return sums;
}

// What the two sums of a row stand for: with one channel the bytes of even and of odd number, with three the
// lower and the upper half of each 128 bits. Either way a lane holds a pixel and its right neighbour.
template <int channels>
struct Neighbours {
    Bytes first;
    Bytes second;
};

// `last` when only the pixel itself is needed; its neighbour may then lie outside the row.
template <int channels>
DORN_INLINE Neighbours<channels> loadNeighbours(const uint8_t* from, bool last) {
    if constexpr (channels == 1) {
        return {load<Bytes>(from), load<Bytes>(from + 1)};
    } else {
        const Bytes pixels = load<Bytes>(from);
        const Bytes right = last ? pixels : load<Bytes>(from + channels);
        return {simd::interleaveLowerBlocks(pixels, right), simd::interleaveUpperBlocks(pixels, right)};
    }
}

// The quotients of both sums in the order of the row.
template <int channels>
DORN_INLINE Bytes joined(const Sum& first, const Sum& second) {
    if constexpr (channels == 1) {
        return alternate(first, second);
    } else {
        return simd::demoteBlocks<Bytes>(bitCast<Products>(scaled(first) >> 7),
                                         bitCast<Products>(scaled(second) >> 7));
    }
}

// Asks for what the next two rows of output will need while this pass works on cached memory.
struct Ahead {
    const uint8_t* src[2];
    const uint8_t* dst[2];
};

DORN_INLINE Ahead lookAhead(const GaussianJob& job, ptrdiff_t y) {
    const ptrdiff_t lastRow = job.height - 1;
    const ptrdiff_t row = y + job.radius + 2;
    return {
        {job.src + smaller(row, lastRow) * job.srcStep, job.src + smaller(row + 1, lastRow) * job.srcStep},
        {job.dst + smaller(y + 2, lastRow) * job.dstStep, job.dst + smaller(y + 3, lastRow) * job.dstStep}};
}

DORN_INLINE void prefetchAhead(const Ahead& ahead, ptrdiff_t at) {
    constexpr ptrdiff_t line = 64;
    if (kBlock >= line || at % line == 0) {
        simd::prefetch(ahead.src[0] + at);
        simd::prefetch(ahead.src[1] + at);
        simd::prefetch(ahead.dst[0] + at);
        simd::prefetch(ahead.dst[1] + at);
    }
}

// The column pass into rows y and y + 1 of the destination. Behind the last row of an image of odd height
// there is no second one: the first is then written last.
template <int channels, int pairs>
struct Columns {
    TapVectors<pairs> even;
    TapVectors<pairs> odd;
    Ahead ahead;
    uint8_t* upper;
    uint8_t* lower;

    DORN_INLINE Columns make(const GaussianJob& job, const BytePlan& plan, ptrdiff_t y) {
        uint8_t* upper = job.dst + y * job.dstStep;
        return {TapVectors<pairs>::make(plan.evenTaps), TapVectors<pairs>::make(plan.oddTaps),
                lookAhead(job, y), upper, y + 1 < job.height ? upper + job.dstStep : upper};
    }

    __attribute__((always_inline)) void filter(const GaussianJob& job, const BytePlan& plan,
                                               ptrdiff_t block) const {
        const ptrdiff_t at = blockAt(job, block);
        prefetchAhead(ahead, at);
        const Sums sums = sumPairs<pairs>(
            plan, [&](Sums & s, ptrdiff_t pair) __attribute__((always_inline)) {
                const Bytes first = load<Bytes>(plan.column[pair] + 2 * block * kBlock);
                const Bytes second = load<Bytes>(plan.column[pair] + (2 * block + 1) * kBlock);
                addPair(s.upperFirst, first, even.high(pair), even.low(pair));
                addPair(s.upperSecond, second, even.high(pair), even.low(pair));
                addPair(s.lowerFirst, first, odd.high(pair), odd.low(pair));
                addPair(s.lowerSecond, second, odd.high(pair), odd.low(pair));
            });
        store(lower + at, joined<channels>(sums.lowerFirst, sums.lowerSecond));
        store(upper + at, joined<channels>(sums.upperFirst, sums.upperSecond));
    }
};

// Stands in the place of Columns where rows are filtered without output yet.
struct NoColumns {
    DORN_INLINE NoColumns make(const GaussianJob&, const BytePlan&, ptrdiff_t) { return {}; }

    __attribute__((always_inline)) void filter(const GaussianJob&, const BytePlan&, ptrdiff_t) const {}
};

template <int channels, int pairs>
static __attribute__((noinline)) void filterColumns(const GaussianJob& job, const BytePlan& plan,
                                                    ptrdiff_t y) {
    const auto columns = Columns<channels, pairs>::make(job, plan, y);
    for (ptrdiff_t block = 0; block < plan.blocks; ++block) {
        columns.filter(job, plan, block);
    }
}

// Filters blocks `firstBlock` ... `lastBlock` - 1 of two rows into a slot, and each block's columns right
// behind it when OutputColumns is Columns: `y` is then the row of output. Byte `origin` of the rows lies at
// `upper` and `lower`.
template <int channels, int pairs, typename OutputColumns>
static __attribute__((noinline)) void
filterBlocks(const GaussianJob& job, const BytePlan& plan, const uint8_t* upper, const uint8_t* lower,
             ptrdiff_t origin, ptrdiff_t firstBlock, ptrdiff_t lastBlock, uint8_t* slot, ptrdiff_t y) {
    const auto columns = OutputColumns::make(job, plan, y);
    const TapVectors<pairs> taps = TapVectors<pairs>::make(plan.evenTaps);
    for (ptrdiff_t block = firstBlock; block < lastBlock; ++block) {
        const ptrdiff_t at = blockAt(job, block) - plan.reach - origin;
        const Sums sums = sumPairs<pairs>(
            plan, [&](Sums & s, ptrdiff_t pair) __attribute__((always_inline)) {
                const bool last = pair == (pairs > 0 ? pairs : plan.pairs) - 1;
                const ptrdiff_t from = at + 2 * channels * pair;
                const Neighbours<channels> above = loadNeighbours<channels>(upper + from, last);
                const Neighbours<channels> below = loadNeighbours<channels>(lower + from, last);
                addPair(s.upperFirst, above.first, taps.high(pair), taps.low(pair));
                addPair(s.upperSecond, above.second, taps.high(pair), taps.low(pair));
                addPair(s.lowerFirst, below.first, taps.high(pair), taps.low(pair));
                addPair(s.lowerSecond, below.second, taps.high(pair), taps.low(pair));
            });
        store(slot + 2 * block * kBlock, alternate(sums.upperFirst, sums.lowerFirst));
        store(slot + (2 * block + 1) * kBlock, alternate(sums.upperSecond, sums.lowerSecond));
        columns.filter(job, plan, block);
    }
}

// Filters two rows of the source into a slot; OutputColumns and `y` as above.
template <int channels, int pairs, typename OutputColumns>
DORN_INLINE void filterRows(const GaussianJob& job, const BytePlan& plan, ptrdiff_t upper, ptrdiff_t lower,
                            uint8_t* slot, ptrdiff_t y) {
    const uint8_t* rows[2] = {job.src + upper * job.srcStep, job.src + lower * job.srcStep};
    ptrdiff_t used = 0;
    if (plan.leftEnd > 0) {
        const ptrdiff_t end = blockAt(job, plan.leftEnd - 1) + kBlock + plan.reach + plan.overread;
        used = end + plan.reach;
        padRow(job, rows[0], -plan.reach, end, plan.padded[0]);
        padRow(job, rows[1], -plan.reach, end, plan.padded[1]);
        filterBlocks<channels, pairs, OutputColumns>(job, plan, plan.padded[0], plan.padded[1], -plan.reach,
                                                     0, plan.leftEnd, slot, y);
    }
    filterBlocks<channels, pairs, OutputColumns>(job, plan, rows[0], rows[1], 0, plan.leftEnd,
                                                 plan.rightBegin, slot, y);
    if (plan.rightBegin < plan.blocks) {
        const ptrdiff_t begin = blockAt(job, plan.rightBegin) - plan.reach;
        const ptrdiff_t end = job.rowBytes + plan.reach + plan.overread;
        padRow(job, rows[0], begin, end, plan.padded[0] + used);
        padRow(job, rows[1], begin, end, plan.padded[1] + used);
        filterBlocks<channels, pairs, OutputColumns>(job, plan, plan.padded[0] + used, plan.padded[1] + used,
                                                     begin, plan.rightBegin, plan.blocks, slot, y);
    }
}

// Puts one row of a slot (0 the upper, 1 the lower) in the place of one row of another slot.
DORN_INLINE void copyRow(const BytePlan& plan, const uint8_t* from, ptrdiff_t fromRow, uint8_t* slot,
                         ptrdiff_t slotRow) {
    const Words kept = splat<Words>(slotRow == 0 ? 0xFF00 : 0x00FF);
    for (ptrdiff_t i = 0; i < plan.slotBytes; i += kBlock) {
        const Words words = bitCast<Words>(load<Bytes>(from + i));
        const Words row = fromRow == 0 ? words & splat<Words>(0x00FF) : words >> 8;
        const Words placed = slotRow == 0 ? row : row << 8;
        const Words others = bitCast<Words>(load<Bytes>(slot + i)) & kept;
        store(slot + i, bitCast<Bytes>(others | placed));
    }
}

// Fills the slot whose rows both hold the border value.
DORN_INLINE void makeConstantSlot(const GaussianJob& job, const BytePlan& plan) {
    uint8_t* row = plan.padded[0];
    for (ptrdiff_t i = 0; i < job.rowBytes; ++i) {
        row[i] = job.borderValue[i % job.channels];
    }
    for (ptrdiff_t block = 0; block < plan.blocks; ++block) {
        const Bytes values = load<Bytes>(row + blockAt(job, block));
        store(plan.constantSlot + 2 * block * kBlock, simd::interleaveLowerBlocks(values, values));
        store(plan.constantSlot + (2 * block + 1) * kBlock, simd::interleaveUpperBlocks(values, values));
    }
}

DORN_INLINE uint8_t* slotOf(const BytePlan& plan, ptrdiff_t pair) {
    return plan.ring + pair % plan.pairs * plan.slotBytes;
}

// Makes rows 2 pair and 2 pair + 1 of the intermediate; behind the last row that is needed nothing is made.
template <int channels, int pairs>
static void makePair(const GaussianJob& job, const BytePlan& plan, ptrdiff_t pair) {
    const ptrdiff_t count = 2 * pair + 1 < job.height + job.kernel - 1 ? 2 : 1;
    RowOrigin origins[2] = {rowOrigin(job, 2 * pair), rowOrigin(job, 2 * pair + count - 1)};
    uint8_t* slot = slotOf(plan, pair);
    const bool upper = origins[0].kind == RowOrigin::source;
    const bool lower = origins[1].kind == RowOrigin::source;
    if (upper || lower) {
        filterRows<channels, pairs, NoColumns>(job, plan, origins[upper ? 0 : 1].row,
                                               origins[lower ? 1 : 0].row, slot, 0);
    }
    for (ptrdiff_t row = 0; row < count; ++row) {
        if (origins[row].kind == RowOrigin::copy) {
            copyRow(plan, slotOf(plan, origins[row].row / 2), origins[row].row % 2, slot, row);
        } else if (origins[row].kind == RowOrigin::constant) {
            copyRow(plan, plan.constantSlot, 0, slot, row);
        }
    }
}

// True when source and destination have no byte in common, so that output may be written while the row below
// is still read.
DORN_INLINE bool isApart(const GaussianJob& job) {
    const ptrdiff_t above = (job.border & ippBorderInMemTop) != 0 ? job.radius : 0;
    const ptrdiff_t below = (job.border & ippBorderInMemBottom) != 0 ? job.radius : 0;
    const ptrdiff_t aside = job.radius * job.channels;
    const uintptr_t src = reinterpret_cast<uintptr_t>(job.src);
    const uintptr_t srcBegin = src - static_cast<uintptr_t>(above * job.srcStep + aside);
    const uintptr_t srcEnd =
        src + static_cast<uintptr_t>((job.height - 1 + below) * job.srcStep + job.rowBytes + aside);
    const uintptr_t dst = reinterpret_cast<uintptr_t>(job.dst);
    const uintptr_t dstEnd = dst + static_cast<uintptr_t>((job.height - 1) * job.dstStep + job.rowBytes);
    return dstEnd <= srcBegin || srcEnd <= dst;
}

// Short kernels leave time to wait for memory in: filtering rows and columns at once spreads the reading and
// writing evenly. Below AVX2 the arithmetic takes longer than the memory.
template <int pairs>
constexpr bool kFusesPasses = pairs > 0 && kVariant >= 5;

template <int channels, int pairs>
static void filterBytes(const GaussianJob& job, const BytePlan& plan) {
    if (borderKind(job) == ippBorderConst) {
        makeConstantSlot(job, plan);
    }
    const bool fuses = kFusesPasses<pairs> && isApart(job);
    ptrdiff_t made = 0;
    for (ptrdiff_t y = 0; y < job.height; y += 2) {
        for (ptrdiff_t pair = 0; pair < plan.pairs; ++pair) {
            plan.column[pair] = slotOf(plan, y / 2 + pair);
        }
        const ptrdiff_t last = y / 2 + plan.pairs - 1;
        for (; made < last; ++made) {
            makePair<channels, pairs>(job, plan, made);
        }
        ++made;
        const ptrdiff_t row = y + job.radius;
        if (fuses && row + 1 < job.height) {
            filterRows<channels, pairs, Columns<channels, pairs>>(job, plan, row, row + 1, slotOf(plan, last),
                                                                  y);
        } else {
            makePair<channels, pairs>(job, plan, last);
            filterColumns<channels, pairs>(job, plan, y);
        }
    }
}

template <int channels>
DORN_INLINE void filterBytes(const GaussianJob& job) {
    const BytePlan plan = planBytes(job);
    switch (job.kernel) {
    case 3:
        return filterBytes<channels, 2>(job, plan);
    case 5:
        return filterBytes<channels, 3>(job, plan);
    default:
        return filterBytes<channels, 0>(job, plan);
    }
}

} // namespace primitives::DORN_LEVEL_NAMESPACE
