#include "primitives/resize/LinearColumns.h"

#include "primitives/resize/ResizeWindows.h"

namespace primitives {

namespace {

// Describes the window of the `group` samples from `sample` on; false when there is none.
template <std::int64_t channels, std::size_t group>
bool describeWindow(const LinearColumns& columns, std::size_t sample, RowBytes readable, std::int32_t& start,
                    std::uint8_t* numbers) {
    std::uint8_t lefts[group];
    if (!findWindow<channels, group>(columns.index, sample, {0, channels, 0}, readable, start, lefts)) {
        return false;
    }
    for (std::size_t i = 0; i < group; ++i) {
        numbers[2 * i] = lefts[i];
        numbers[2 * i + 1] = static_cast<std::uint8_t>(lefts[i] + channels);
    }
    return true;
}

// Makes windows for `group` samples each, if there is room and the pixels lie close enough together.
template <std::size_t channels, std::size_t group>
bool describeWindows(LinearColumns& columns, std::size_t block, const ResizeSpan& x, ResizeBuffer buffer,
                     const Ipp8u* bufferEnd) {
    if (columns.samples < block || block < group) {
        return false;
    }
    const std::size_t blocks = (columns.samples + block - 1) / block;
    auto* const numbers = buffer.take<std::uint8_t>(2 * block * blocks);
    auto* const starts = buffer.take<std::int32_t>(block / group * blocks);
    if (buffer.end() > bufferEnd) {
        return false;
    }
    const RowBytes readable = readableBytes(x, 0, 1, channels);
    const std::size_t last = columns.samples - block;
    std::size_t described = 0;
    for (std::size_t at = 0; at < columns.samples; at += block) {
        for (std::size_t in = 0; in < block; in += group) {
            if (!describeWindow<channels, group>(columns, std::min(at, last) + in, readable,
                                                 starts[described], numbers + 2 * group * described)) {
                return false;
            }
            ++described;
        }
    }
    columns.group = group;
    columns.starts = starts;
    columns.numbers = numbers;
    return true;
}

} // namespace

template <std::size_t channels>
LinearColumns makeLinearColumns(const ResizeSpan& x, std::size_t block, ResizeBuffer buffer,
                                const Ipp8u* bufferEnd) {
    const auto first = static_cast<std::size_t>(x.offset) + static_cast<std::size_t>(x.lead);
    LinearColumns columns{};
    columns.pixels = static_cast<std::size_t>(x.inner());
    columns.samples = columns.pixels * channels;
    columns.channels = channels;
    columns.index = x.axis->index + first;

    auto* const weights = buffer.take<std::int16_t>(columns.samples);
    const std::uint16_t* pairs = x.axis->coef16 + 2 * first;
    for (std::size_t pixel = 0; pixel < columns.pixels; ++pixel) {
        std::fill_n(weights + pixel * channels, channels,
                    static_cast<std::int16_t>(-2 * pairs[2 * pixel + 1]));
    }
    columns.weights = weights;

    if (!describeWindows<channels, kLinearWideGroup>(columns, block, x, buffer, bufferEnd) &&
        !describeWindows<channels, kLinearGroup>(columns, block, x, buffer, bufferEnd)) {
        columns.pairs = buffer.take<std::uint8_t>(2 * columns.samples);
    }
    return columns;
}

template LinearColumns makeLinearColumns<1>(const ResizeSpan&, std::size_t, ResizeBuffer, const Ipp8u*);
template LinearColumns makeLinearColumns<3>(const ResizeSpan&, std::size_t, ResizeBuffer, const Ipp8u*);
template LinearColumns makeLinearColumns<4>(const ResizeSpan&, std::size_t, ResizeBuffer, const Ipp8u*);

} // namespace primitives
