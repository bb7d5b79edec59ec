#include "primitives/warp/WarpKernels.h"

#include "primitives/core/Copy.h"
#include "primitives/core/simd/Doubles.h"

namespace primitives::DORN_LEVEL_NAMESPACE {
namespace {

using simd::HalfF64;
using simd::VecF32;
using simd::VecI32;
using simd::VecU32;

constexpr int kRows = VecF32::lanes;
static_assert(kRows == warpBlockRows(kVariant));

// Tells functions for different numbers of channels apart.
template <int channels>
struct Channels {};

// One coordinate of all rows.
struct Coordinate {
    HalfF64 lower;
    HalfF64 upper;
};

DORN_INLINE Coordinate loadCoordinate(const double* from) {
    return {simd::load<HalfF64>(from), simd::load<HalfF64>(from + HalfF64::lanes)};
}

DORN_INLINE void storeCoordinate(double* to, Coordinate c) {
    simd::store(to, c.lower);
    simd::store(to + HalfF64::lanes, c.upper);
}

DORN_INLINE void advance(Coordinate& c, HalfF64 step) {
    c.lower += step;
    c.upper += step;
}

// A coordinate brought within the source. What it loses makes no difference: on both sides of it lies the
// same edge pixel.
DORN_INLINE Coordinate clampCoordinate(Coordinate c, HalfF64 highest) {
    const HalfF64 none = simd::zero<HalfF64>();
    return {simd::min(simd::max(c.lower, none), highest), simd::min(simd::max(c.upper, none), highest)};
}

// A coordinate, not negative, as a whole part and the rest.
struct Parts {
    Coordinate whole;
    VecF32 fraction;
};

DORN_INLINE Parts split(Coordinate c, Coordinate whole) {
    return {whole, simd::demoteFloats(c.lower - whole.lower, c.upper - whole.upper)};
}

DORN_INLINE Parts split(Coordinate c) {
    return split(c, {simd::truncate(c.lower), simd::truncate(c.upper)});
}

// The same with a whole part of at most `most`; the rest is up to 1 then.
DORN_INLINE Parts splitUpTo(Coordinate c, HalfF64 most) {
    return split(c, {simd::truncate(simd::min(c.lower, most)), simd::truncate(simd::min(c.upper, most))});
}

// What doesn't change from column to column.
struct Frame {
    const uint8_t* pixels;
    ptrdiff_t step;
    HalfF64 stepOfRows;
    // For positions that may lie outside.
    HalfF64 lastColumn;
    HalfF64 lastRow;
    HalfF64 mostColumn; // a position's whole part has a pixel to its right
    VecI32 mostOffset;  // of a position in the last row
    VecI32 intStep;
};

template <int channels>
DORN_INLINE Frame frameOf(const WarpSource& source) {
    const auto step = static_cast<int32_t>(source.step);
    Frame frame = {};
    frame.pixels = source.pixels;
    frame.step = source.step;
    frame.stepOfRows = simd::splat<HalfF64>(step);
    frame.lastColumn = simd::splat<HalfF64>(source.width - 1);
    frame.lastRow = simd::splat<HalfF64>(source.height - 1);
    frame.mostColumn = simd::splat<HalfF64>(source.width - 2);
    frame.mostOffset = simd::splat<VecI32>((source.height - 1) * step + (source.width - 2) * channels);
    frame.intStep = simd::splat<VecI32>(step);
    return frame;
}

// Byte offset of the left upper neighbour in every row, and where between the four the positions lie.
struct Place {
    VecI32 offset;
    VecF32 fx;
    VecF32 fy;
};

template <int channels, WarpForm form>
DORN_INLINE Place placeOf(const Frame& frame, Coordinate x, Coordinate y) {
    Parts column;
    Parts row;
    if constexpr (form == kWarpInside) {
        column = split(x);
        row = split(y);
    } else {
        // In the last column the pixel to the left counts with weight 0, which gives the same. In the last
        // row that would change the rounding, so the row beyond counts with weight 0.
        column = splitUpTo(clampCoordinate(x, frame.lastColumn), frame.mostColumn);
        row = split(clampCoordinate(y, frame.lastRow));
    }
    const HalfF64 pixel = simd::splat<HalfF64>(channels);
    const HalfF64 base = simd::splat<HalfF64>(simd::kLowWord);
    const auto offset = [&](HalfF64 atX, HalfF64 atY) {
        const HalfF64 inRow = channels == 1 ? atX + base : simd::wholeMulAdd(atX, pixel, base);
        return simd::wholeMulAdd(atY, frame.stepOfRows, inRow);
    };
    return {simd::lowWords(offset(column.whole.lower, row.whole.lower),
                           offset(column.whole.upper, row.whole.upper)),
            column.fraction, row.fraction};
}

template <int shift>
DORN_INLINE VecF32 byteOf(VecU32 word) {
    const VecU32 byte = shift == 24 ? word >> 24 : (word >> shift) & simd::splat<VecU32>(0xFF);
    return simd::toFloat(simd::bitCast<VecI32>(byte));
}

// The rounding of each step is part of the result.
DORN_INLINE VecU32 interpolate(VecF32 p00, VecF32 p10, VecF32 p01, VecF32 p11, const Place& place) {
    const VecF32 t = p00 + (p10 - p00) * place.fx;
    const VecF32 u = (p01 - t) + (p11 - p01) * place.fx;
    // Within 0 to 255 once rounded: the errors are far below 1/2.
    return simd::bitCast<VecU32>(simd::nearestInt(t + place.fy * u));
}

// One channel. The pixels of the upper row are read with two bytes behind them, those of the lower row with
// two in front; the rows make room for these.
template <WarpForm form>
DORN_INLINE VecU32 samplePixel(const Frame& frame, const Place& place, Channels<1>) {
    VecU32 upper;
    VecU32 lower;
    if constexpr (form == kWarpInside) {
        upper = simd::gather32(frame.pixels, place.offset);
        lower = simd::gather32(frame.pixels + frame.step - 2, place.offset);
    } else {
        const VecI32 below = place.offset + frame.intStep;
        const auto isLast = simd::less(frame.mostOffset, below);
        upper = simd::gather32(frame.pixels, place.offset + (isLast + isLast));
        upper = simd::select(isLast, upper >> 16, upper);
        lower = simd::gather32(frame.pixels - 2, simd::min(below, frame.mostOffset));
    }
    return interpolate(byteOf<0>(upper), byteOf<8>(upper), byteOf<16>(lower), byteOf<24>(lower), place);
}

// Two pixels of three channels: the first and a byte of the second, a byte of the first and the second.
struct Pair {
    VecU32 left;
    VecU32 right;
};

DORN_INLINE Pair gatherPair(const uint8_t* base, VecI32 offset) {
    return {simd::gather32(base, offset), simd::gather32(base + 2, offset)};
}

// Three channels, in the lower bytes of the lanes.
template <WarpForm form>
DORN_INLINE VecU32 samplePixel(const Frame& frame, const Place& place, Channels<3>) {
    const Pair upper = gatherPair(frame.pixels, place.offset);
    Pair lower;
    if constexpr (form == kWarpInside) {
        lower = gatherPair(frame.pixels + frame.step, place.offset);
    } else {
        lower = gatherPair(frame.pixels, simd::min(place.offset + frame.intStep, frame.mostOffset));
    }
    const VecU32 first = interpolate(byteOf<0>(upper.left), byteOf<24>(upper.left), byteOf<0>(lower.left),
                                     byteOf<24>(lower.left), place);
    const VecU32 second = interpolate(byteOf<8>(upper.left), byteOf<16>(upper.right), byteOf<8>(lower.left),
                                      byteOf<16>(lower.right), place);
    const VecU32 third = interpolate(byteOf<16>(upper.left), byteOf<24>(upper.right), byteOf<16>(lower.left),
                                     byteOf<24>(lower.right), place);
    return first | second << 8 | third << 16;
}

// Four pixels of every row as words of four bytes.
template <int channels>
DORN_INLINE void packPixels(const VecU32* pixels, VecU32* words) {
    if constexpr (channels == 1) {
        words[0] = pixels[0] | pixels[1] << 8 | pixels[2] << 16 | pixels[3] << 24;
    } else {
        words[0] = pixels[0] | pixels[1] << 24;
        words[1] = pixels[1] >> 8 | pixels[2] << 16;
        words[2] = pixels[2] >> 16 | pixels[3] << 8;
    }
}

using VecU64 = simd::Vec<uint64_t, VecU32::lanes / 2>;

DORN_INLINE VecU64 doubleWords(VecU32 v) {
    return simd::bitCast<VecU64>(v);
}

// Rows with four consecutive words each, which come as the first word of every row, the second and so on.
DORN_INLINE void storeWords(const VecU32* words, uint8_t* to, size_t rowBytes) {
    const VecU64 lower01 = doubleWords(simd::interleaveLowerBlocks(words[0], words[1]));
    const VecU64 lower23 = doubleWords(simd::interleaveLowerBlocks(words[2], words[3]));
    const VecU64 upper01 = doubleWords(simd::interleaveUpperBlocks(words[0], words[1]));
    const VecU64 upper23 = doubleWords(simd::interleaveUpperBlocks(words[2], words[3]));
    // Each 128-bit block holds a whole row; block b of vector i that of row 4 b + i.
    const VecU64 rows[4] = {
        simd::interleaveLowerBlocks(lower01, lower23), simd::interleaveUpperBlocks(lower01, lower23),
        simd::interleaveLowerBlocks(upper01, upper23), simd::interleaveUpperBlocks(upper01, upper23)};
    for (size_t i = 0; i < 4; ++i) {
        for (size_t block = 0; block < kRows / 4; ++block) {
            const auto* const from = reinterpret_cast<const uint8_t*>(rows + i) + 16 * block;
            __builtin_memcpy(to + (4 * block + i) * rowBytes, from, 16);
        }
    }
}

template <int channels, WarpForm form>
DORN_INLINE void sampleBlock(const WarpSource& source, WarpPositions& at, int columns, WarpPixels& pixels) {
    static_assert(kWarpGroup == 16);
    const Frame frame = frameOf<channels>(source);
    const HalfF64 stepX = simd::splat<HalfF64>(at.stepX);
    const HalfF64 stepY = simd::splat<HalfF64>(at.stepY);
    Coordinate x = loadCoordinate(at.x);
    Coordinate y = loadCoordinate(at.y);
    for (int column = 0; column < columns; column += kWarpGroup) {
        VecU32 words[4 * channels];
        for (int i = 0; i < 4; ++i) {
            VecU32 four[4];
            for (VecU32& pixel : four) {
                pixel = samplePixel<form>(frame, placeOf<channels, form>(frame, x, y), Channels<channels>{});
                advance(x, stepX);
                advance(y, stepY);
            }
            packPixels<channels>(four, words + i * channels);
        }
        for (int i = 0; i < channels; ++i) {
            storeWords(words + 4 * i, pixels.bytes + column * channels + 16 * i,
                       kWarpBlockColumns * channels);
        }
    }
    storeCoordinate(at.x, x);
    storeCoordinate(at.y, y);
}

template <int channels>
DORN_INLINE void prefetchLine(const WarpSource& source, WarpLine line, int count) {
    const Frame frame = frameOf<channels>(source);
    const HalfF64 lower = simd::iota<HalfF64>();
    const HalfF64 upper = lower + simd::splat<HalfF64>(HalfF64::lanes);
    const auto along = [&](double from, double step) {
        const HalfF64 steps = simd::splat<HalfF64>(step);
        const HalfF64 begin = simd::splat<HalfF64>(from);
        return Coordinate{begin + lower * steps, begin + upper * steps};
    };
    Coordinate x = along(line.x, line.stepX);
    Coordinate y = along(line.y, line.stepY);
    const HalfF64 nextX = simd::splat<HalfF64>(kRows * line.stepX);
    const HalfF64 nextY = simd::splat<HalfF64>(kRows * line.stepY);
    for (int i = 0; i < count; i += kRows) {
        int32_t offsets[kRows];
        simd::store(offsets, placeOf<channels, kWarpClamped>(frame, x, y).offset);
        for (const int32_t offset : offsets) {
            simd::prefetchFar(frame.pixels + offset);
        }
        advance(x, nextX);
        advance(y, nextY);
    }
}

} // namespace
} // namespace primitives::DORN_LEVEL_NAMESPACE

namespace primitives {

template <>
void WarpKernels<kVariant>::sampleC1(const WarpSource& source, WarpForm form, WarpPositions& at, int columns,
                                     WarpPixels& pixels) {
    using namespace DORN_LEVEL_NAMESPACE;
    if (form == kWarpInside) {
        sampleBlock<1, kWarpInside>(source, at, columns, pixels);
    } else {
        sampleBlock<1, kWarpClamped>(source, at, columns, pixels);
    }
}

template <>
void WarpKernels<kVariant>::sampleC3(const WarpSource& source, WarpForm form, WarpPositions& at, int columns,
                                     WarpPixels& pixels) {
    using namespace DORN_LEVEL_NAMESPACE;
    if (form == kWarpInside) {
        sampleBlock<3, kWarpInside>(source, at, columns, pixels);
    } else {
        sampleBlock<3, kWarpClamped>(source, at, columns, pixels);
    }
}

template <>
void WarpKernels<kVariant>::prefetch(const WarpSource& source, int channels, WarpLine line, int count) {
    using namespace DORN_LEVEL_NAMESPACE;
    if (channels == 1) {
        prefetchLine<1>(source, line, count);
    } else {
        prefetchLine<3>(source, line, count);
    }
}

template <>
void WarpKernels<kVariant>::copy(const Ipp8u* from, Ipp8u* to, size_t bytes) {
    DORN_LEVEL_NAMESPACE::ippCopy(from, to, bytes);
}

} // namespace primitives
