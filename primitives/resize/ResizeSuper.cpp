#include "primitives/resize/ResizeSuper.h"

#include <algorithm>
#include <cstring>

#include "primitives/core/Dispatch.h"
#include "primitives/resize/ResizeRun.h"
#include "primitives/resize/ResizeSizing.h"
#include "primitives/resize/SuperWholeKernels.h"

namespace primitives {

namespace {

// ---------------------------------------------------------------- plans

std::size_t tableLength(const IppiResizeAxis& axis) {
    return axis.dstReduced * static_cast<std::size_t>(superEntries(axis.srcReduced, axis.dstReduced));
}

// Fills the tables of one period: `superEntries` consecutive source positions and their weights for each
// destination position. The last ones may have the weight 0.
void fillPeriod(IppiResizeAxis& axis) {
    if (axis.srcSize == axis.dstSize) {
        axis.index[0] = 0;
        axis.coef32f[0] = 1.0F;
        return;
    }
    constexpr double least = 1e-7; // weights up to this are rounding errors
    const std::int64_t entries = superEntries(axis.srcReduced, axis.dstReduced);
    const auto last = static_cast<std::int64_t>(axis.srcReduced) - 1;
    const double ratio = resizeRatio(axis);
    std::int32_t* index = axis.index;
    float* weights = axis.coef32f;
    double carry =
        1.0; // the part of the first source position that the destination position before left over
    for (std::uint32_t d = 0; d < axis.dstReduced; ++d) {
        auto at = static_cast<std::int64_t>(d * ratio);
        std::int64_t count = 0;
        const auto add = [&](double weight) {
            const bool isInside = at <= last;
            *index++ = static_cast<std::int32_t>(isInside ? at : last);
            *weights++ = isInside && weight > least ? static_cast<float>(weight) : 0.0F;
            ++count;
        };
        add(carry);
        double rest = ratio - carry;
        for (; rest >= 1.0 && count < entries - 1; rest -= 1.0) {
            ++at;
            add(1.0);
        }
        ++at;
        add(rest);
        while (count < entries) {
            add(0.0);
        }
        carry = 1.0 - rest;
    }
}

[[gnu::noinline]] void fillPeriods(IppiResizeSpec& plan) {
    fillPeriod(plan.axisY);
    fillPeriod(plan.axisX);
}

template <int variant>
struct ResizeSuperInit {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, IppiResizeSpec* spec) {
        if (!spec) {
            return ippStsNullPtrErr;
        }
        if (const IppStatus status = checkResizeSizes(srcSize, dstSize); status != ippStsNoErr) {
            return status;
        }
        if (srcSize.width < dstSize.width || srcSize.height < dstSize.height) {
            return ippStsSizeErr;
        }
        IppiResizeSpec& plan = *resizePlan(spec);
        beginResizePlan(plan, srcSize, dstSize, ippSuper, 0);
        ResizeTables tables(plan);
        const std::size_t lengthY = tableLength(plan.axisY);
        const std::size_t lengthX = tableLength(plan.axisX);
        plan.axisY.index = tables.place<std::int32_t>(lengthY);
        plan.axisX.index = tables.place<std::int32_t>(lengthX);
        plan.axisY.coef32f = tables.place<float>(lengthY, kResizeRowAlignment);
        plan.axisX.coef32f = tables.place<float>(lengthX, kResizeRowAlignment);
        buildFlushed<variant>([&plan] { fillPeriods(plan); });
        return ippStsNoErr;
    }
};

// ---------------------------------------------------------------- runs

// The source positions below the destination positions of a tile along one axis, counted from the first of
// them.
class SuperAxis {
public:
    SuperAxis(const IppiResizeAxis& axis, std::int32_t offset)
        : axis_(axis), offset_(static_cast<std::uint32_t>(offset)),
          entries_(static_cast<std::size_t>(superEntries(axis.srcReduced, axis.dstReduced))),
          origin_(source(offset_)) {}

    std::size_t entries() const { return entries_; }
    const float* periodBegin() const { return axis_.coef32f; }
    const float* periodEnd() const { return axis_.coef32f + axis_.dstReduced * entries_; }

    std::int64_t start(std::size_t at) const { return source(offset_ + at) - origin_; }
    const float* weights(std::size_t at) const {
        return axis_.coef32f + (offset_ + at) % axis_.dstReduced * entries_;
    }
    // The entries of a position without the zeros at their end.
    std::size_t usedEntries(std::size_t at) const {
        const float* const all = weights(at);
        std::size_t used = entries_;
        while (used > 1 && all[used - 1] == 0.0F) {
            --used;
        }
        return used;
    }

    // The starts of the first `count` positions.
    void storeStarts(std::size_t count, std::int32_t* to) const {
        std::int64_t base = std::int64_t{offset_ / axis_.dstReduced} * axis_.srcReduced - origin_;
        std::uint32_t position = offset_ % axis_.dstReduced;
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = static_cast<std::int32_t>(base + axis_.index[position * entries_]);
            if (++position == axis_.dstReduced) {
                position = 0;
                base += axis_.srcReduced;
            }
        }
    }

private:
    std::int64_t source(std::size_t position) const {
        return static_cast<std::int64_t>(position / axis_.dstReduced * axis_.srcReduced) +
               axis_.index[position % axis_.dstReduced * entries_];
    }

    const IppiResizeAxis& axis_;
    std::uint32_t offset_;
    std::size_t entries_;
    std::int64_t origin_;
};

float superFactor(const IppiResizeSpec& plan) {
    const auto part = [](const IppiResizeAxis& axis) {
        return static_cast<float>(axis.dstReduced) / static_cast<float>(axis.srcReduced);
    };
    return part(plan.axisX) * part(plan.axisY);
}

// Makes a tile in blocks of some rows and so many pixels that their sums stay in the nearest cache. The sums
// live here, so that they need no room in the work buffer. With one channel, kernels sum along the rows of a
// block at once.
template <int variant, std::size_t channels>
class SuperRun {
public:
    explicit SuperRun(const ResizeCall& call)
        : call_(call), width_(static_cast<std::size_t>(clippedTileSize(call).width)),
          height_(static_cast<std::size_t>(clippedTileSize(call).height)),
          x_(call.plan->axisX, call.dstOffset.x), y_(call.plan->axisY, call.dstOffset.y),
          factor_(superFactor(*call.plan)),
          isWholeY_(call.plan->axisY.dstReduced == 1 && y_.entries() <= kSuperWholeRows),
          starts_(ResizeBuffer(call.buffer).take<std::int32_t>(width_)) {
        x_.storeStarts(width_, starts_);
    }

    void run() {
        if (x_.entries() == 1 && y_.entries() == 1) {
            copy();
            return;
        }
        for (std::size_t row = 0; row < height_; row += kGroup) {
            takeRows(row);
            for (std::size_t pixel = 0; pixel < width_;) {
                pixel += makeBlock(pixel);
            }
        }
    }

private:
    using Kernels = SuperKernels<variant>;

    // Rows of a block.
    static constexpr std::size_t kGroup = channels == 1 ? superLanes(variant) : 4;
    // Sums of a block, and those in each of its rows. Zeros stand behind them: entries without weight lie
    // there, and kernels go on to the next multiple of four.
    static constexpr std::size_t kSums = 4096;
    static constexpr std::size_t kRowSums = kSums / kGroup;
    static constexpr std::size_t kZeros = channels == 1 ? 8 : 16;
    static constexpr std::size_t kMostColumns = (kRowSums - kZeros) / channels;
    // Elements that sumColumns gives for a pixel at most.
    static constexpr std::size_t kMostElements = 8;

    const Ipp8u* srcRow(std::int64_t row) const {
        return call_.src + static_cast<std::ptrdiff_t>(row) * call_.srcStep;
    }
    Ipp8u* dstRow(std::size_t row) const {
        return call_.dst + static_cast<std::ptrdiff_t>(row) * call_.dstStep;
    }

    void copy() const {
        for (std::size_t row = 0; row < height_; ++row) {
            Kernels::copy(srcRow(static_cast<std::int64_t>(row)), width_ * channels, dstRow(row));
        }
    }

    void takeRows(std::size_t row) {
        group_ = std::min(kGroup, height_ - row);
        const Ipp8u* last = nullptr;
        for (std::size_t i = 0; i < group_; ++i) {
            rows_[i] = rowsBelow(row + i);
            rows_[i].sharesFirst = rows_[i].from == last;
            last = rows_[i].from + static_cast<std::ptrdiff_t>(rows_[i].count - 1) * rows_[i].step;
            to_[i] = dstRow(row + i);
        }
    }

    // The source rows below a row. Those of weight 0 need not exist.
    SuperRows rowsBelow(std::size_t row) const {
        if (isWholeY_) {
            return {srcRow(y_.start(row)), call_.srcStep, nullptr, y_.entries(), false};
        }
        const float* weights = y_.weights(row);
        std::size_t count = y_.usedEntries(row);
        std::int64_t first = y_.start(row);
        for (; weights[0] == 0.0F && count > 1; --count) {
            ++weights;
            ++first;
        }
        return {srcRow(first), call_.srcStep, weights, count, false};
    }

    // Makes pixels from `pixel` on in all rows of the group, as many as fit a block; gives their number.
    std::size_t makeBlock(std::size_t pixel) {
        SuperColumns columns{};
        columns.starts = starts_ + pixel;
        columns.origin = starts_[pixel];
        columns.weights = x_.weights(pixel);
        columns.stride = x_.entries();
        columns.period = x_.periodBegin();
        columns.periodEnd = x_.periodEnd();
        if (x_.entries() > kMostColumns) {
            columns.pixels = 1;
            columns.count = x_.usedEntries(pixel);
            makeWidePixel(columns, pixel);
            return 1;
        }
        columns.pixels = pixelsOfBlock(pixel);
        columns.count = x_.entries();
        const std::size_t last = columns.pixels - 1;
        const auto distance = static_cast<std::size_t>(columns.starts[last] - columns.origin);
        const std::size_t sourceColumns = distance + x_.usedEntries(pixel + last);
        sumRows(columns.origin, sourceColumns);
        if (columns.count == 1) { // nothing to sum along the rows
            finishRows(columns.pixels, pixel, [this](std::size_t row) { return sums_ + row * kRowSums; });
        } else if constexpr (channels == 1) {
            interleave(sourceColumns);
            Kernels::sumColumns(columns, channels, results_, sums_);
            Kernels::finish(sums_, columns.pixels * kGroup, factor_, bytes_);
            Kernels::deal(bytes_, columns.pixels, to_, group_, pixel);
        } else {
            finishRows(columns.pixels, pixel, [&](std::size_t row) {
                Kernels::sumColumns(columns, channels, sums_ + row * kRowSums, results_);
                return results_;
            });
        }
        return columns.pixels;
    }

    // Pixels from `pixel` on in all rows of the group; sumsOf(row) gives their sums.
    template <typename SumsOf>
    void finishRows(std::size_t pixels, std::size_t pixel, SumsOf sumsOf) {
        for (std::size_t row = 0; row < group_; ++row) {
            Kernels::finish(sumsOf(row), pixels * channels, factor_, to_[row] + pixel * channels);
        }
    }

    std::size_t pixelsOfBlock(std::size_t pixel) const {
        const std::int64_t lastStart =
            starts_[pixel] + static_cast<std::int64_t>(kMostColumns - x_.entries());
        const std::int32_t* const end =
            std::upper_bound(starts_ + pixel, starts_ + width_, lastStart,
                             [](std::int64_t limit, std::int32_t start) { return limit < start; });
        return static_cast<std::size_t>(end - (starts_ + pixel));
    }

    // A pixel that covers more columns than a block holds.
    void makeWidePixel(SuperColumns columns, std::size_t pixel) {
        float totals[kGroup * kMostElements + kSuperMargin] = {};
        const std::size_t all = columns.count;
        for (std::size_t done = 0; done < all; done += columns.count) {
            columns.count = std::min(all - done, kMostColumns);
            columns.continues = done > 0;
            sumRows(columns.origin + static_cast<std::int64_t>(done), columns.count);
            if constexpr (channels == 1) {
                interleave(columns.count);
                Kernels::sumColumns(columns, channels, results_, totals);
            } else {
                for (std::size_t i = 0; i < group_; ++i) {
                    Kernels::sumColumns(columns, channels, sums_ + i * kRowSums, totals + i * kMostElements);
                }
            }
            columns.weights += columns.count;
        }
        Ipp8u samples[kGroup * kMostElements];
        Kernels::finish(totals, sizeof samples, factor_, samples);
        constexpr std::size_t distance = channels == 1 ? 1 : kMostElements;
        for (std::size_t i = 0; i < group_; ++i) {
            std::memcpy(to_[i] + pixel * channels, samples + i * distance, channels);
        }
    }

    // Sums down source columns, for all rows of the group.
    void sumRows(std::int64_t column, std::size_t columns) {
        const std::size_t samples = columns * channels;
        SuperRows rows[kGroup];
        for (std::size_t i = 0; i < group_; ++i) {
            rows[i] = rows_[i];
            rows[i].from += static_cast<std::ptrdiff_t>(column) * std::ptrdiff_t{channels};
        }
        Kernels::sumRows(rows, group_, samples, sums_, kRowSums);
        for (std::size_t i = 0; i < group_; ++i) {
            std::fill_n(sums_ + i * kRowSums + samples, kZeros, 0.0F);
        }
    }

    // The rows of the group in one, with half of the zeros behind them.
    void interleave(std::size_t columns) {
        Kernels::interleave(sums_, kRowSums, columns + kZeros / 2, results_);
    }

    const ResizeCall& call_;
    std::size_t width_; // of the tile
    std::size_t height_;
    SuperAxis x_;
    SuperAxis y_;
    float factor_;
    bool isWholeY_; // source rows have the weight 1, and not too many of them lie below a row
    std::int32_t* starts_;
    std::size_t group_ = 0; // rows that are being made
    SuperRows rows_[kGroup] = {};
    Ipp8u* to_[kGroup] = {};
    alignas(64) float sums_[kSums + kSuperMargin] = {};
    alignas(64) float results_[(channels == 1 ? kSums : kRowSums) + kSuperMargin] = {};
    alignas(64) Ipp8u bytes_[channels == 1 ? kSums + 16 * kGroup : 1] = {};
};

// Makes a tile at a whole ratio, if the kernels have a way of their own for it; false if they haven't.
template <int variant, std::size_t channels>
bool runWhole(const ResizeCall& call) {
    const IppiResizeAxis& x = call.plan->axisX;
    const IppiResizeAxis& y = call.plan->axisY;
    const IppiSize size = clippedTileSize(call);
    const auto width = static_cast<std::size_t>(size.width);
    if (x.dstReduced != 1 || y.dstReduced != 1 || superForm(channels, x.srcReduced) == 0 ||
        std::size_t{x.srcReduced} * y.srcReduced > kSuperWholePixels ||
        width <= superFormPixels(variant, channels)) {
        return false;
    }
    const float factor = superFactor(*call.plan);
    const std::ptrdiff_t step = std::ptrdiff_t{call.srcStep} * static_cast<std::ptrdiff_t>(y.srcReduced);
    for (std::int32_t row = 0; row < size.height; ++row) {
        SuperWholeKernels<variant>::makeRow(
            {call.src + row * step, call.srcStep, nullptr, y.srcReduced, false}, width, x.srcReduced,
            channels, factor, call.dst + std::ptrdiff_t{row} * call.dstStep);
    }
    return true;
}

template <std::int32_t channels>
struct ResizeSuper {
    template <int variant>
    struct Entry {
        static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                             IppiPoint dstOffset, IppiSize dstSize, const IppiResizeSpec* spec,
                             Ipp8u* buffer) {
            const ResizeCall call{src, srcStep, dst, dstStep, dstOffset, dstSize, resizePlan(spec), buffer};
            if (const IppStatus status = checkResizeCall(call, ippSuper); status != ippStsNoErr) {
                return status;
            }
            if constexpr (variant >= 2) {
                if (runWhole<variant, channels>(call)) {
                    return resizeDoneStatus(call);
                }
            }
            SuperRun<variant, channels>(call).run();
            return resizeDoneStatus(call);
        }
    };
};

} // namespace

} // namespace primitives

using namespace primitives;

IppStatus ippiResizeSuperInit_8u(IppiSize srcSize, IppiSize dstSize, IppiResizeSpec* spec) {
    return dispatch<ResizeSuperInit>(srcSize, dstSize, spec);
}

IppStatus ippiResizeSuper_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, const IppiResizeSpec* spec,
                                 Ipp8u* buffer) {
    return dispatch<ResizeSuper<1>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, spec, buffer);
}

IppStatus ippiResizeSuper_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, const IppiResizeSpec* spec,
                                 Ipp8u* buffer) {
    return dispatch<ResizeSuper<3>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, spec, buffer);
}

IppStatus ippiResizeSuper_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                 IppiPoint dstOffset, IppiSize dstSize, const IppiResizeSpec* spec,
                                 Ipp8u* buffer) {
    return dispatch<ResizeSuper<4>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, spec, buffer);
}
