#include "primitives/resize/TapColumns.h"

#include "primitives/resize/ResizeWindows.h"

namespace primitives {

namespace {

static_assert(kMostTaps >= sizeof(float), "numbers fit where bytes are gathered");

// The first sample of the block that is stored at sample `at`.
std::size_t blockBegin(const TapColumns& columns, std::size_t at, std::size_t block) {
    return columns.samples < block ? 0 : std::min(at, columns.samples - block);
}

// `from` is the weights of the tile's column 0.
template <std::size_t channels>
void arrangeWeights(const TapColumns& columns, const TapRange& range, const float* from, std::size_t taps,
                    std::size_t block, float* to) {
    for (std::size_t at = 0; at < columns.samples; at += block) {
        const std::size_t begin = blockBegin(columns, at, block);
        for (std::size_t i = begin; i < begin + block; ++i, ++to) {
            const std::int32_t column = range.column(static_cast<std::int32_t>(i / channels));
            const float* weights = from + static_cast<std::size_t>(column) * taps;
            for (std::size_t tap = 0; tap < taps; ++tap) {
                to[tap * block] = i < columns.samples ? weights[tap] : 0.0F;
            }
        }
        to += (taps - 1) * block;
    }
}

// Makes windows for `group` samples each, if the pixels lie close enough together.
template <std::size_t channels, std::size_t group>
bool describeWindows(TapColumns& columns, const ResizeSpan& x, std::size_t taps, std::size_t block,
                     TapTables& tables) {
    if (columns.samples < block || block < group) {
        return false;
    }
    const std::int64_t shift = columns.shift;
    const auto reach = static_cast<std::int64_t>((taps - 1) * channels);
    const RowBytes readable = readableBytes(x, shift, static_cast<std::int64_t>(taps - 1) - shift, channels);
    const WindowReach window{-shift * static_cast<std::int64_t>(channels), 0, reach};
    std::int32_t* start = tables.starts;
    std::uint8_t* numbers = tables.bytes;
    for (std::size_t at = 0; at < columns.samples; at += block) {
        for (std::size_t in = 0; in < block; in += group) {
            std::uint8_t bytes[group];
            if (!findWindow<channels, group>(columns.index, blockBegin(columns, at, block) + in, window,
                                             readable, *start, bytes)) {
                return false;
            }
            ++start;
            for (const std::uint8_t byte : bytes) {
                *numbers++ = byte;
                numbers = std::fill_n(numbers, 3, std::uint8_t{0x80});
            }
        }
    }
    columns.group = group;
    columns.starts = tables.starts;
    columns.numbers = tables.bytes;
    return true;
}

} // namespace

template <std::size_t channels>
TapColumns makeTapColumns(const ResizeSpan& x, const TapRange& range, bool gathers, std::size_t taps,
                          std::size_t block, TapTables& tables) {
    const auto offset = static_cast<std::size_t>(x.offset);
    TapColumns columns{};
    columns.pixels = range.pixels();
    columns.samples = columns.pixels * channels;
    columns.channels = channels;
    columns.weights = tables.weights;
    columns.index = x.axis->index + offset + range.first;
    columns.split = static_cast<std::size_t>(range.split);
    columns.gap = range.gap;
    columns.shift = static_cast<std::int32_t>(taps / 2 - 1);
    arrangeWeights<channels>(columns, range, x.axis->coef32f + offset * taps, taps, block, tables.weights);

    const bool hasWindows =
        !gathers && (describeWindows<channels, kTapWidestGroup>(columns, x, taps, block, tables) ||
                     describeWindows<channels, kTapWideGroup>(columns, x, taps, block, tables) ||
                     describeWindows<channels, kTapGroup>(columns, x, taps, block, tables));
    if (!hasWindows) {
        columns.low = x.sourceLow;
        columns.high = x.sourceHigh;
        columns.gathered = tables.bytes;
    }
    return columns;
}

template TapColumns makeTapColumns<1>(const ResizeSpan&, const TapRange&, bool, std::size_t, std::size_t,
                                      TapTables&);
template TapColumns makeTapColumns<3>(const ResizeSpan&, const TapRange&, bool, std::size_t, std::size_t,
                                      TapTables&);
template TapColumns makeTapColumns<4>(const ResizeSpan&, const TapRange&, bool, std::size_t, std::size_t,
                                      TapTables&);

} // namespace primitives
