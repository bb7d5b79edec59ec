#include "primitives/warp/WarpRun.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "primitives/warp/WarpPlain.h"

namespace primitives {
namespace {

// Source rows passed from column to column from which on a warp is steep. Below, the processor finds out by
// itself which memory comes next, if there are few rows at a time; above, the source has to be asked for.
constexpr double kSteepSlope = 0.125;
// Rows that are made in one pass along the tile, at most and in a warp that isn't steep. The patch of the
// source that they and kWarpBlockColumns columns come from stays in the nearest cache at any angle.
constexpr int kBandRows = 64;
constexpr int kFlatBandRows = 32;
constexpr int kLeastBlockRows = 4;

// Bytes that lie between the places that are asked for ahead: a bit less than the memory's lines have.
constexpr double kPrefetchBytes = 48;
// Where the places are so far apart that each pixel has lines of its own, this many columns or rows are
// skipped.
constexpr int kLeastPrefetchStep = 4;

// How far within the source positions have to lie so that none needs a clamp, whatever was lost in rounding.
constexpr double kMargin = 1.0 / 32;

bool suitsKernels(const WarpSource& source, int channels) {
    // Kernels form the place of the row behind the last one, too.
    return source.step >= std::ptrdiff_t{source.width} * channels &&
           source.step <= INT32_MAX / (std::ptrdiff_t{source.height} + 1);
}

// True when a coordinate stays within an axis for `columns` steps. Written so that not-a-number is false.
bool staysInside(double from, double step, int columns, std::int32_t size) {
    const double to = from + step * columns;
    const double highest = (size - 1) - kMargin;
    return from >= kMargin && from <= highest && to >= kMargin && to <= highest;
}

// The intersection of two ranges.
WarpColumns common(WarpColumns a, WarpColumns b) {
    return {std::max(a.first, b.first), std::min(a.last, b.last)};
}

class WarpSampler {
public:
    WarpSampler(const WarpTile& tile, const WarpFunctions& functions)
        : tile_(tile), functions_(functions), record_(*tile.record),
          kind_(warpBorderKind(record_.borderType)), isPlain_(!suitsKernels(tile.source, tile.channels)),
          isSteep_(std::fabs(record_.backward[3]) >= kSteepSlope), border_(record_) {}

    void run() {
        if (kind_ == ippBorderConst) {
            for (std::int32_t row = 0; row < tile_.size.height; ++row) {
                repeatWarpPixel(border_.bytes, tile_.channels, tile_.size.width, tile_.pixel(0, row));
            }
        }
        const double* const b = record_.backward;
        rowX_ = b[1] * tile_.offset.y + b[2];
        rowY_ = b[4] * tile_.offset.y + b[5];
        for (std::int32_t row = 0; row < tile_.size.height;) {
            const std::int32_t rows = std::min(isSteep_ ? kBandRows : kFlatBandRows, tile_.size.height - row);
            makeBand(row, rows);
            row += rows;
        }
    }

private:
    void makeBand(std::int32_t firstRow, std::int32_t rows) {
        const int blocks = (rows + functions_.blockRows - 1) / functions_.blockRows;
        for (int block = 0; block < blocks; ++block) {
            startBlock(band_[block]);
        }
        for (std::int32_t column = 0; column < tile_.size.width;) {
            const std::int32_t columns = std::min(kWarpBlockColumns, tile_.size.width - column);
            if (column + columns < tile_.size.width && isSteep_ && !isPlain_) {
                const WarpPositions& at = band_[0];
                prefetchSource(at.x[0] + columns * at.stepX, at.y[0] + columns * at.stepY);
            }
            for (int block = 0; block < blocks; ++block) {
                const std::int32_t row = block * functions_.blockRows;
                const IppiSize size = {columns, std::min(functions_.blockRows, rows - row)};
                prefetchDestination({column + columns, firstRow + row}, size.height);
                makeBlock(band_[block], {column, firstRow + row}, size);
            }
            column += columns;
        }
    }

    // Asks for the source of the band's next columns, whose first row begins at (x, y). Lines across them in
    // the direction that passes from one source row to the next faster, so close together that none of the
    // memory's lines between them is left out.
    void prefetchSource(double x, double y) const {
        const double* const b = record_.backward;
        const WarpLine down = {x, y, b[1], b[4]};
        const WarpLine along = {x, y, b[0], b[3]};
        const bool goesDown = std::fabs(b[4]) >= std::fabs(b[3]);
        WarpLine line = goesDown ? down : along;
        const WarpLine& other = goesDown ? along : down;
        // Bytes between neighbouring lines in the same source row.
        const double distance = std::fabs((b[0] * b[4] - b[1] * b[3]) / line.stepY) * tile_.channels;
        const int count = goesDown ? kBandRows : kWarpBlockColumns;
        const int across = goesDown ? kWarpBlockColumns : kBandRows;
        int step = across;
        while (step > kLeastPrefetchStep && step * distance > kPrefetchBytes) {
            step /= 2;
        }
        for (int i = 0; i < across; i += step) {
            functions_.prefetch(tile_.source, tile_.channels, line, count);
            line.x += step * other.stepX;
            line.y += step * other.stepY;
        }
    }

    void prefetchDestination(IppiPoint at, std::int32_t rows) const {
        const std::int32_t columns = std::min(kWarpBlockColumns, tile_.size.width - at.x);
        for (std::int32_t row = 0; row < rows; ++row) {
            for (std::int32_t column = 0; column < columns; column += kWarpBlockColumns / tile_.channels) {
                __builtin_prefetch(tile_.pixel(at.x + column, at.y + row), 1);
            }
        }
    }

    // Positions of the tile's first column in the next rows. A block may have more rows than the tile.
    void startBlock(WarpPositions& at) {
        const double* const b = record_.backward;
        at.stepX = b[0];
        at.stepY = b[3];
        for (int row = 0; row < functions_.blockRows; ++row) {
            at.x[row] = b[0] * tile_.offset.x + rowX_;
            at.y[row] = b[3] * tile_.offset.x + rowY_;
            rowX_ += b[1];
            rowY_ += b[4];
        }
    }

    // The tile's pixels from `at` on.
    void makeBlock(WarpPositions& positions, IppiPoint at, IppiSize size) {
        const WarpPositions start = positions;
        if (isPlain_) {
            samplePlain(positions, size);
        } else {
            const WarpForm form = isInside(positions, size.width) ? kWarpInside : kWarpClamped;
            functions_.sample(tile_.source, form, positions, size.width, pixels_);
        }
        for (std::int32_t row = 0; row < size.height; ++row) {
            const Ipp8u* const from = pixels_.bytes + row * kWarpBlockColumns * tile_.channels;
            const IppiPoint rowAt = {at.x, at.y + row};
            const WarpColumns all = {0, size.width - 1};
            if (kind_ == ippBorderRepl) {
                write(from, all, rowAt);
                continue;
            }
            const WarpColumns inner =
                common(all, spanOf(rowAt, record_.spanTable, record_.firstSpanRow, record_.lastSpanRow));
            write(from, inner, rowAt);
            if (kind_ == ippBorderConst) {
                const WarpColumns outer = common(
                    all, spanOf(rowAt, record_.spanTable2, record_.firstSpanRow2, record_.lastSpanRow2));
                mixWithBorder(start.x[row], start.y[row], inner, outer, rowAt);
            }
        }
    }

    bool isInside(const WarpPositions& at, int columns) const {
        const int made = (columns + kWarpGroup - 1) / kWarpGroup * kWarpGroup;
        for (int row = 0; row < functions_.blockRows; ++row) {
            if (!staysInside(at.x[row], at.stepX, made, tile_.source.width) ||
                !staysInside(at.y[row], at.stepY, made, tile_.source.height)) {
                return false;
            }
        }
        return true;
    }

    void samplePlain(WarpPositions& at, IppiSize size) {
        for (std::int32_t row = 0; row < size.height; ++row) {
            Ipp8u* to = pixels_.bytes + row * kWarpBlockColumns * tile_.channels;
            for (std::int32_t column = 0; column < size.width; ++column, to += tile_.channels) {
                plainWarpPixel(tile_.source, tile_.channels, at.x[row], at.y[row], nullptr, to);
                at.x[row] += at.stepX;
                at.y[row] += at.stepY;
            }
        }
    }

    // A row of a span table as columns counted from the tile's pixel `at`.
    WarpColumns spanOf(IppiPoint at, const WarpColumns* table, std::int32_t firstRow,
                       std::int32_t lastRow) const {
        const std::int32_t row = tile_.offset.y + at.y;
        if (row < firstRow || row > lastRow) {
            return {0, -1};
        }
        const WarpColumns span = table[row - firstRow];
        const std::int32_t origin = tile_.offset.x + at.x;
        return {span.first - origin, span.last - origin};
    }

    void write(const Ipp8u* from, WarpColumns columns, IppiPoint at) const {
        if (columns.first <= columns.last) {
            const std::int32_t count = columns.last - columns.first + 1;
            std::memcpy(tile_.pixel(at.x + columns.first, at.y), from + columns.first * tile_.channels,
                        static_cast<std::size_t>(count) * static_cast<std::size_t>(tile_.channels));
        }
    }

    // The pixels of `outer` without those of `inner`: neighbours outside the source are the border's value.
    void mixWithBorder(double x, double y, WarpColumns inner, WarpColumns outer, IppiPoint at) const {
        if (inner.first <= inner.last && inner.first <= outer.first && inner.last >= outer.last) {
            return;
        }
        for (std::int32_t column = 0; column <= outer.last; ++column) {
            if (column >= outer.first && (column < inner.first || column > inner.last)) {
                plainWarpPixel(tile_.source, tile_.channels, x, y, border_.bytes,
                               tile_.pixel(at.x + column, at.y));
            }
            x += record_.backward[0];
            y += record_.backward[3];
        }
    }

    const WarpTile& tile_;
    const WarpFunctions& functions_;
    const IppiWarpSpec& record_;
    std::uint32_t kind_;
    bool isPlain_;
    bool isSteep_;
    WarpBorderPixel border_;
    double rowX_ = 0.0;
    double rowY_ = 0.0;
    WarpPositions band_[kBandRows / kLeastBlockRows] = {};
    WarpPixels pixels_;
};

} // namespace

WarpBorderPixel::WarpBorderPixel(const IppiWarpSpec& record) {
    for (int i = 0; i < kWarpMostChannels; ++i) {
        const double value = record.borderValue[i];
        bytes[i] = value > 0.0 ? static_cast<Ipp8u>(std::nearbyint(std::min(value, 255.0))) : Ipp8u{0};
    }
}

void repeatWarpPixel(const Ipp8u* pixel, int channels, std::ptrdiff_t count, Ipp8u* to) {
    if (channels == 1) {
        std::memset(to, pixel[0], static_cast<std::size_t>(count));
        return;
    }
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::memcpy(to + i * channels, pixel, static_cast<std::size_t>(channels));
    }
}

void sampleWarpTile(const WarpTile& tile, const WarpFunctions& functions) {
    WarpSampler(tile, functions).run();
}

} // namespace primitives
