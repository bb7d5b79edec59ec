#ifndef DORNIMAGE_PRIMITIVES_RESIZE_TAPRUN_H
#define DORNIMAGE_PRIMITIVES_RESIZE_TAPRUN_H

// The run of the cubic and Lanczos methods. A tile is made in parts of neighbouring columns. For each part
// the source rows go through the horizontal pass once, into a ring, and the destination rows are sums of the
// rows of the ring. Pixels of the strips, whose taps reach beyond the image, are made in the same way from
// clamped coordinates, but their sums have an order of their own.

#include "primitives/resize/ResizeRun.h"
#include "primitives/resize/RowRing.h"
#include "primitives/resize/TapColumns.h"

namespace primitives {

template <int variant, int taps, std::int32_t channels>
class TapRun {
public:
    // `large` tells that sums may leave the range of integers.
    TapRun(const ResizeTile& tile, TapForm form, bool large, Ipp8u* buffer)
        : tile_(tile), form_(form), large_(large), buffer_(buffer) {}

    void run() {
        const ResizeSpan& x = tile_.x;
        makeColumns(0, x.lead, true);
        makeColumns(x.lead, x.inner(), false);
        makeColumns(x.size - x.trail, x.trail, true);
    }

private:
    using Kernels = TapKernels<variant>;

    static constexpr std::int32_t kPixels = static_cast<std::int32_t>(kTapSamples) / channels;
    static constexpr TapForm kEdge = taps == 4 ? TapForm::edge4 : TapForm::edge6;

    // In parts of about the same width.
    void makeColumns(std::int32_t first, std::int32_t count, bool isStrip) {
        const std::int64_t parts = (std::int64_t{count} + kPixels - 1) / kPixels;
        for (std::int64_t i = 0; i < parts; ++i) {
            const auto begin = static_cast<std::int32_t>(count * i / parts);
            const auto end = static_cast<std::int32_t>(count * (i + 1) / parts);
            makePart(first + begin, end - begin, isStrip);
        }
    }

    void makePart(std::int32_t first, std::int32_t count, bool isStrip) {
        const TapColumns columns = makeTapColumns<channels>(
            tile_.x, first, count, isStrip || !tapWindows(variant), taps, tapBlock(variant), tables_);
        const ResizeSpan& y = tile_.y;
        makeRows(columns, first, 0, y.lead, kEdge);
        makeRows(columns, first, y.lead, y.size - y.trail, isStrip ? kEdge : form_);
        makeRows(columns, first, y.size - y.trail, y.size, kEdge);
    }

    void makeRows(const TapColumns& columns, std::int32_t column, std::int32_t row, std::int32_t end,
                  TapForm form) {
        const ResizeSpan& y = tile_.y;
        ResizeBuffer buffer(buffer_);
        RowRing<float, taps> ring(buffer, columns.samples);
        while (row < end) {
            const std::int32_t index = y.index(row);
            ring.moveTo(index - (taps / 2 - 1), [&](std::int32_t source, float* to) {
                Kernels::filterRow(form, tile_.sourceRow(y.clampSource(source)), columns, to);
            });
            std::int32_t count = 1;
            while (count < kTapTargets && row + count < end && y.index(row + count) == index) {
                ++count;
            }
            blend(form, ring.rows(), columns.samples, column, row, count);
            row += count;
        }
    }

    // `count` destination rows from `row` on, from the same source rows.
    void blend(TapForm form, const float* const* rows, std::size_t samples, std::int32_t column,
               std::int32_t row, std::int32_t count) const {
        TapTarget targets[kTapTargets];
        for (std::int32_t i = 0; i < count; ++i) {
            const auto position =
                static_cast<std::size_t>(tile_.y.offset) + static_cast<std::size_t>(row + i);
            targets[i] = {tile_.dstRow(row + i) + std::ptrdiff_t{column} * channels,
                          tile_.y.axis->coef32f + position * taps};
        }
        if (large_) {
            for (std::int32_t i = 0; i < count; ++i) {
                Kernels::blendLargeRow(form, rows, samples, targets[i]);
            }
        } else {
            Kernels::blendRows(form, rows, samples, targets, count);
        }
    }

    const ResizeTile tile_;
    const TapForm form_;
    const bool large_;
    Ipp8u* const buffer_;
    TapTables tables_;
};

} // namespace primitives

#endif
