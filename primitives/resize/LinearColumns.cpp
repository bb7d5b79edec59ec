#include "primitives/resize/LinearColumns.h"

namespace primitives {

namespace {

// The bytes of a source row that may be read: those of the image, and beyond it those that the taps reach.
struct RowBytes {
    std::int64_t low;
    std::int64_t high; // the last one
};

// Where the neighbours of a group of samples lie.
class Neighbours {
public:
    Neighbours(const LinearColumns& columns) : columns_(columns) {}

    std::int64_t left(std::size_t sample) const {
        const std::size_t pixel = sample / columns_.channels;
        const std::size_t channel = sample % columns_.channels;
        return columns_.index[pixel] * step() + static_cast<std::int64_t>(channel);
    }
    std::int64_t step() const { return static_cast<std::int64_t>(columns_.channels); }

    RowBytes readable(std::uint32_t srcSize) const {
        const std::int64_t first = columns_.index[0];
        const std::int64_t last = columns_.index[columns_.pixels - 1];
        return {std::min(first, std::int64_t{0}) * step(),
                std::max(last + 2, std::int64_t{srcSize}) * step() - 1};
    }

private:
    const LinearColumns& columns_;
};

// Describes the window of the group that begins at `sample`; false when there is none.
bool describeWindow(const Neighbours& neighbours, std::size_t sample, RowBytes readable, std::int32_t& start,
                    std::uint8_t* numbers) {
    std::int64_t lefts[kLinearGroup];
    for (std::size_t i = 0; i < kLinearGroup; ++i) {
        lefts[i] = neighbours.left(sample + i);
    }
    const auto [lowest, highest] = std::minmax_element(lefts, lefts + kLinearGroup);
    constexpr auto window = static_cast<std::int64_t>(kLinearWindow);
    const std::int64_t at = std::min(*lowest, readable.high + 1 - window);
    if (at < readable.low || *highest + neighbours.step() - at >= window || at > INT32_MAX - window) {
        return false;
    }
    start = static_cast<std::int32_t>(at);
    for (std::size_t i = 0; i < kLinearGroup; ++i) {
        numbers[2 * i] = static_cast<std::uint8_t>(lefts[i] - at);
        numbers[2 * i + 1] = static_cast<std::uint8_t>(lefts[i] + neighbours.step() - at);
    }
    return true;
}

bool describeWindows(const LinearColumns& columns, std::size_t block, std::uint32_t srcSize,
                     std::int32_t* starts, std::uint8_t* numbers) {
    const Neighbours neighbours(columns);
    const RowBytes readable = neighbours.readable(srcSize);
    const std::size_t last = columns.samples - block;
    for (std::size_t at = 0; at < columns.samples; at += block) {
        for (std::size_t in = 0; in < block; in += kLinearGroup) {
            if (!describeWindow(neighbours, std::min(at, last) + in, readable, *starts, numbers)) {
                return false;
            }
            ++starts;
            numbers += 2 * kLinearGroup;
        }
    }
    return true;
}

} // namespace

LinearColumns makeLinearColumns(const ResizeSpan& x, std::size_t channels, std::size_t block,
                                ResizeBuffer buffer, const Ipp8u* bufferEnd) {
    const auto first = static_cast<std::size_t>(x.offset) + static_cast<std::size_t>(x.lead);
    LinearColumns columns{};
    columns.pixels = static_cast<std::size_t>(x.inner());
    columns.samples = columns.pixels * channels;
    columns.channels = channels;
    columns.index = x.axis->index + first;

    auto* weights = buffer.take<std::int16_t>(columns.samples);
    const std::uint16_t* pairs = x.axis->coef16 + 2 * first;
    for (std::size_t sample = 0; sample < columns.samples; ++sample) {
        weights[sample] = static_cast<std::int16_t>(-2 * pairs[2 * (sample / channels) + 1]);
    }
    columns.weights = weights;

    ResizeBuffer windows = buffer;
    const std::size_t blocks = (columns.samples + block - 1) / block;
    auto* numbers = windows.take<std::uint8_t>(2 * block * blocks);
    auto* starts = windows.take<std::int32_t>(block / kLinearGroup * blocks);
    if (columns.samples >= block && windows.end() <= bufferEnd &&
        describeWindows(columns, block, x.axis->srcSize, starts, numbers)) {
        columns.starts = starts;
        columns.numbers = numbers;
    } else {
        columns.pairs = buffer.take<std::uint8_t>(2 * columns.samples);
    }
    return columns;
}

} // namespace primitives
