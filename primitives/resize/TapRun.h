#ifndef DORNIMAGE_PRIMITIVES_RESIZE_TAPRUN_H
#define DORNIMAGE_PRIMITIVES_RESIZE_TAPRUN_H

// The run of the cubic and Lanczos methods. A tile is made in parts of neighbouring columns. For each part
// the source rows go through the horizontal pass once, into a ring, and the destination rows are sums of the
// rows of the ring. Pixels of the strips, whose taps reach beyond the image, are made in the same way from
// clamped coordinates, but their sums have an order of their own.

#include <cstring>

#include "primitives/resize/ResizeRun.h"
#include "primitives/resize/ResizeSizing.h"
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
        forParts(x.inner(), [&](std::int32_t begin, std::int32_t count) {
            makePart<false>({x.lead + begin, count, count, 0});
        });
        // Both strips at the sides together: they are narrow.
        forParts(x.lead + x.trail, [&](std::int32_t begin, std::int32_t count) {
            makePart<true>({begin, count, std::clamp(x.lead - begin, 0, count), x.inner()});
        });
    }

private:
    using Kernels = TapKernels<variant>;

    static constexpr std::int32_t kPixels = static_cast<std::int32_t>(tapSamples(taps)) / channels;
    static constexpr std::ptrdiff_t kAhead = 4; // rows that destination rows are fetched ahead
    static constexpr TapForm kEdge = taps == 4 ? TapForm::edge4 : TapForm::edge6;

    // Divides `count` columns into parts of about the same width.
    template <typename Make>
    static void forParts(std::int32_t count, Make make) {
        const std::int64_t parts = (std::int64_t{count} + kPixels - 1) / kPixels;
        for (std::int64_t i = 0; i < parts; ++i) {
            const auto begin = static_cast<std::int32_t>(count * i / parts);
            const auto end = static_cast<std::int32_t>(count * (i + 1) / parts);
            make(begin, end - begin);
        }
    }

    template <bool isStrip>
    void makePart(const TapRange& range) {
        const TapColumns columns = makeTapColumns<channels>(tile_.x, range, isStrip || !tapWindows(variant),
                                                            taps, tapBlock(variant), tables_);
        const ResizeSpan& y = tile_.y;
        makeRows<isStrip>(range, columns, 0, y.lead, kEdge);
        makeRows<isStrip>(range, columns, y.lead, y.size - y.trail, isStrip ? kEdge : form_);
        makeRows<isStrip>(range, columns, y.size - y.trail, y.size, kEdge);
    }

    template <bool isStrip>
    void makeRows(const TapRange& range, const TapColumns& columns, std::int32_t row, std::int32_t end,
                  TapForm form) {
        const ResizeSpan& y = tile_.y;
        ResizeBuffer buffer(buffer_);
        RowRing<float, taps> ring(buffer, columns.samples);
        while (row < end) {
            const std::int32_t index = y.index(row);
            ring.moveTo(index - (taps / 2 - 1), [&](std::int32_t source, float* to) {
                const Ipp8u* const from = tile_.sourceRow(y.clampSource(source));
                Kernels::filterRow(form, from, from + tile_.srcStep, columns, to);
            });
            std::int32_t count = 1;
            while (count < kTapTargets && row + count < end && y.index(row + count) == index) {
                ++count;
            }
            if constexpr (isStrip) {
                blendStrip(form, ring.rows(), range, row, count);
            } else {
                Ipp8u* const to = tile_.dstRow(row) + std::ptrdiff_t{range.first} * channels;
                blend(form, ring.rows(), columns.samples, to, tile_.dstStep, kAhead * tile_.dstStep, row,
                      count);
            }
            row += count;
        }
    }

    // `count` destination rows from `row` on, `step` bytes apart, from the same source rows; those `ahead`
    // bytes further on are fetched.
    void blend(TapForm form, const float* const* rows, std::size_t samples, Ipp8u* to, std::ptrdiff_t step,
               std::ptrdiff_t ahead, std::int32_t row, std::int32_t count) const {
        TapTarget targets[kTapTargets];
        for (std::int32_t i = 0; i < count; ++i, to += step) {
            const auto position =
                static_cast<std::size_t>(tile_.y.offset) + static_cast<std::size_t>(row + i);
            targets[i] = {to, to + ahead, tile_.y.axis->coef32f + position * taps};
        }
        if (large_) {
            for (std::int32_t i = 0; i < count; ++i) {
                Kernels::blendLargeRow(form, rows, samples, targets[i]);
            }
        } else {
            Kernels::blendRows(form, rows, samples, targets, count);
        }
    }

    // The same for columns on both sides of the tile, in whole blocks.
    void blendStrip(TapForm form, const float* const* rows, const TapRange& range, std::int32_t row,
                    std::int32_t count) {
        const auto samples = static_cast<std::size_t>(
            roundUp(std::int64_t{range.count} * channels, std::int64_t{tapBlock(variant)}));
        blend(form, rows, samples, strip_, kTapSamples, 0, row, count);
        const auto left = static_cast<std::size_t>(range.split) * channels;
        const auto right = static_cast<std::size_t>(range.count) * channels - left;
        for (std::int32_t i = 0; i < count; ++i) {
            const Ipp8u* const from = strip_ + static_cast<std::size_t>(i) * kTapSamples;
            Ipp8u* const to = tile_.dstRow(row + i);
            std::memcpy(to + std::ptrdiff_t{range.first} * channels, from, left);
            std::memcpy(to + std::ptrdiff_t{range.column(range.split)} * channels, from + left, right);
        }
    }

    const ResizeTile tile_;
    const TapForm form_;
    const bool large_;
    Ipp8u* const buffer_;
    TapTables tables_;
    Ipp8u strip_[kTapTargets * kTapSamples];
};

} // namespace primitives

#endif
