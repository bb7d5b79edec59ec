#include "primitives/resize/ResizeLinear.h"

#include <cmath>
#include <cstring>

#include "primitives/core/Dispatch.h"
#include "primitives/resize/LinearColumns.h"
#include "primitives/resize/ResizeSizing.h"
#include "primitives/resize/RowRing.h"

namespace primitives {

namespace {

constexpr std::uint32_t kTaps = 1;
constexpr std::int32_t kLeastSource = 2;

void buildFloatTables(IppiResizeSpec& plan, ResizeTables& tables) {
    for (IppiResizeAxis* axis : {&plan.axisY, &plan.axisX}) {
        axis->coef32f = tables.place<float>(axis->dstSize);
        fillResizeAxis(*axis, kTaps, [axis](std::uint32_t d, double fraction) {
            axis->coef32f[d] = static_cast<float>(fraction);
        });
    }
}

// Weights of 14 bits. The fraction may be so close to 1 that the weight is 16384.
std::uint16_t fixedWeight(double fraction) {
    return static_cast<std::uint16_t>(1e-7 + 16384.0 * fraction);
}

void buildFixedTables(IppiResizeSpec& plan, ResizeTables& tables) {
    std::uint16_t* const y = tables.place<std::uint16_t>(plan.axisY.dstSize);
    std::uint16_t* const x = tables.place<std::uint16_t>(2 * std::size_t{plan.axisX.dstSize});
    fillResizeAxis(plan.axisY, kTaps,
                   [y](std::uint32_t d, double fraction) { y[d] = fixedWeight(fraction); });
    fillResizeAxis(plan.axisX, kTaps, [x](std::uint32_t d, double fraction) {
        const std::uint16_t weight = fixedWeight(fraction);
        x[2 * std::size_t{d}] = static_cast<std::uint16_t>(16384 - weight);
        x[2 * std::size_t{d} + 1] = weight;
    });
    plan.axisY.coef16 = y;
    plan.axisX.coef16 = x;
}

template <int variant>
struct ResizeLinearInit {
    static IppStatus run(IppiSize srcSize, IppiSize dstSize, IppiResizeSpec* spec) {
        if (!spec) {
            return ippStsNullPtrErr;
        }
        if (const IppStatus status = checkResizeSizes(srcSize, dstSize); status != ippStsNoErr) {
            return status;
        }
        if (srcSize.width < kLeastSource || srcSize.height < kLeastSource) {
            return ippStsSizeErr;
        }
        IppiResizeSpec& plan = *resizePlan(spec);
        beginResizePlan(plan, srcSize, dstSize, ippLinear, kTaps);
        ResizeTables tables(plan);
        plan.axisY.index = tables.place<std::int32_t>(plan.axisY.dstSize);
        plan.axisX.index = tables.place<std::int32_t>(plan.axisX.dstSize);
        if constexpr (variant <= 1) {
            buildFloatTables(plan, tables);
        } else {
            buildFixedTables(plan, tables);
        }
        return ippStsNoErr;
    }
};

// The arithmetic of single precision.
template <int variant, std::size_t channels>
class LinearFloatForm {
public:
    using Sample = float;
    using Kernels = LinearFloatKernels<std::min(variant, 1)>;
    static constexpr std::int32_t mostTargets = 1;

    LinearFloatForm(const ResizeTile& tile, ResizeBuffer, const Ipp8u*) : tile_(tile) {}

    static float weightX(const IppiResizeAxis& axis, std::int32_t d) { return axis.coef32f[d]; }
    static float weightY(const IppiResizeAxis& axis, std::int32_t d) { return axis.coef32f[d]; }

    // A pixel between two neighbours.
    static Ipp8u mix(int a, int b, float weight) {
        const float value = static_cast<float>(a) + static_cast<float>(b - a) * weight;
        return static_cast<Ipp8u>(std::clamp(std::lrint(value), 0L, 255L));
    }

    void filter(const Ipp8u* row, float* to) const {
        const std::int32_t first = tile_.x.offset + tile_.x.lead;
        Kernels::filterRow(row, tile_.x.axis->index + first, tile_.x.axis->coef32f + first, pixels(),
                           channels, to);
    }

    void blend(const float* upper, const float* lower, std::int32_t row, std::int32_t, Ipp8u* to) const {
        Kernels::blendRow(upper, lower, pixels() * channels, weightY(*tile_.y.axis, tile_.y.offset + row),
                          to);
    }

private:
    std::size_t pixels() const { return static_cast<std::size_t>(tile_.x.inner()); }

    const ResizeTile& tile_;
};

// The arithmetic of 14-bit weights.
template <int variant, std::size_t channels>
class LinearFixedForm {
public:
    using Sample = std::int16_t;
    using Kernels = LinearKernels<variant>;
    static constexpr std::int32_t mostTargets = kLinearTargets;

    LinearFixedForm(const ResizeTile& tile, ResizeBuffer buffer, const Ipp8u* bufferEnd)
        : tile_(tile),
          columns_(makeLinearColumns<channels>(tile.x, linearBlock(variant), buffer, bufferEnd)) {}

    static int weightX(const IppiResizeAxis& axis, std::int32_t d) {
        return axis.coef16[2 * static_cast<std::size_t>(d) + 1];
    }
    static int weightY(const IppiResizeAxis& axis, std::int32_t d) { return axis.coef16[d]; }

    // A pixel between two neighbours. The term from bit 14 lifts odd results by one unit of the last place.
    static Ipp8u mix(int a, int b, int weight) {
        const int value = (16384 - weight) * a + weight * b;
        return static_cast<Ipp8u>((value + ((value >> 14) & 1) + 8192) >> 14);
    }

    void filter(const Ipp8u* row, std::int16_t* to) const { Kernels::filterRow(row, columns_, to); }

    void blend(const std::int16_t* upper, const std::int16_t* lower, std::int32_t row, std::int32_t count,
               Ipp8u* to) const {
        LinearTarget targets[kLinearTargets];
        for (std::int32_t i = 0; i < count; ++i) {
            const int weight = weightY(*tile_.y.axis, tile_.y.offset + row + i);
            targets[i] = {to + i * tile_.dstStep, static_cast<std::int16_t>(-2 * weight)};
        }
        Kernels::blendRows(upper, lower, columns_.samples, targets, count);
    }

private:
    const ResizeTile& tile_;
    LinearColumns columns_;
};

// Samples of a row that are worked on at a time: two rows, tables and pixels take 10 bytes each, and stay in
// the nearest cache, of 32 KiB at least, from row to row. Shorter parts lose more than they gain at their
// ends.
constexpr std::int32_t kPartSamples = 3072;

template <typename Form, std::int32_t channels>
class LinearRun {
public:
    LinearRun(const ResizeTile& tile, ResizeBuffer buffer, const Ipp8u* bufferEnd)
        : tile_(tile), buffer_(buffer), bufferEnd_(bufferEnd) {}

    void run() const {
        makeRowStrip(0, tile_.y.lead, 0);
        if (tile_.y.inner() > 0) {
            makeColumnStrip(0, tile_.x.lead, 0);
            makeColumnStrip(tile_.x.size - tile_.x.trail, tile_.x.trail, tile_.x.axis->srcSize - 1);
            if (tile_.x.inner() > 0) {
                makeInterior();
            }
        }
        makeRowStrip(tile_.y.size - tile_.y.trail, tile_.y.trail, tile_.y.axis->srcSize - 1);
    }

private:
    using Sample = typename Form::Sample;

    // `count` rows from `first` on, interpolated along one source row.
    void makeRowStrip(std::int32_t first, std::int32_t count, std::uint32_t sourceRow) const {
        if (count == 0) {
            return;
        }
        const Ipp8u* from = tile_.sourceRow(static_cast<std::int32_t>(sourceRow));
        Ipp8u* const to = tile_.dstRow(first);
        const ResizeSpan& x = tile_.x;
        for (std::int32_t column = 0; column < x.size; ++column) {
            const std::int64_t index = x.index(column);
            const Ipp8u* left = from + std::ptrdiff_t{x.clampSource(index)} * channels;
            const Ipp8u* right = from + std::ptrdiff_t{x.clampSource(index + 1)} * channels;
            const auto weight = Form::weightX(*x.axis, x.offset + column);
            for (std::int32_t channel = 0; channel < channels; ++channel) {
                to[std::ptrdiff_t{column} * channels + channel] =
                    Form::mix(left[channel], right[channel], weight);
            }
        }
        for (std::int32_t row = 1; row < count; ++row) {
            std::memcpy(tile_.dstRow(first + row), to, static_cast<std::size_t>(x.size) * channels);
        }
    }

    // `count` columns from `first` on, interpolated down one source column, in the rows between the row
    // strips.
    void makeColumnStrip(std::int32_t first, std::int32_t count, std::uint32_t sourceColumn) const {
        const ResizeSpan& y = tile_.y;
        const std::ptrdiff_t column = std::ptrdiff_t{sourceColumn} * channels;
        for (std::int32_t row = y.lead; row < y.size - y.trail && count > 0; ++row) {
            const Ipp8u* upper = tile_.sourceRow(y.index(row)) + column;
            const auto weight = Form::weightY(*y.axis, y.offset + row);
            Ipp8u* to = tile_.dstRow(row) + std::ptrdiff_t{first} * channels;
            for (std::int32_t channel = 0; channel < channels; ++channel) {
                to[channel] = Form::mix(upper[channel], upper[channel + tile_.srcStep], weight);
            }
            for (std::int32_t i = channels; i < count * channels; ++i) {
                to[i] = to[i - channels];
            }
        }
    }

    // In parts whose rows and tables stay in the nearest cache from one row to the next.
    void makeInterior() const {
        const std::int32_t parts = (tile_.x.inner() * channels - 1) / kPartSamples + 1;
        ResizeTile part = tile_;
        for (std::int32_t i = 0; i < parts; ++i) {
            part.x.lead = tile_.x.lead + partBegin(i, parts);
            part.x.trail = tile_.x.size - tile_.x.lead - partBegin(i + 1, parts);
            makePart(part);
        }
    }

    std::int32_t partBegin(std::int32_t number, std::int32_t parts) const {
        return static_cast<std::int32_t>(std::int64_t{tile_.x.inner()} * number / parts);
    }

    void makePart(const ResizeTile& part) const {
        const ResizeSpan& y = part.y;
        ResizeBuffer buffer = buffer_;
        RowRing<Sample, 2> ring(buffer, static_cast<std::size_t>(part.x.inner()) * channels);
        const Form form(part, buffer, bufferEnd_);
        const std::int32_t end = y.size - y.trail;
        for (std::int32_t row = y.lead; row < end;) {
            const std::int32_t index = y.index(row);
            ring.moveTo(index,
                        [&](std::int32_t source, Sample* to) { form.filter(part.sourceRow(source), to); });
            std::int32_t count = 1;
            while (count < Form::mostTargets && row + count < end && y.index(row + count) == index) {
                ++count;
            }
            form.blend(ring.row(0), ring.row(1), row, count,
                       part.dstRow(row) + std::ptrdiff_t{part.x.lead} * channels);
            row += count;
        }
    }

    const ResizeTile& tile_;
    ResizeBuffer buffer_;
    const Ipp8u* bufferEnd_;
};

template <std::int32_t channels>
struct ResizeLinear {
    template <int variant>
    struct Entry {
        static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                             IppiPoint dstOffset, IppiSize dstSize, std::uint32_t border, const Ipp8u*,
                             const IppiResizeSpec* spec, Ipp8u* buffer) {
            const ResizeCall call{src, srcStep, dst, dstStep, dstOffset, dstSize, resizePlan(spec), buffer};
            if (const IppStatus status = checkResizeBorder(border); status != ippStsNoErr) {
                return status;
            }
            if (const IppStatus status = checkResizeCall(call, ippLinear); status != ippStsNoErr) {
                return status;
            }
            const ResizeTile tile = makeResizeTile(call, border, channels);
            const std::int64_t size = resizeBufferSize(*call.plan, {tile.x.size, tile.y.size}, channels);
            const Ipp8u* const bufferEnd = buffer + size;
            // The plan decides: it may have been built when another variant was in force.
            if (call.plan->axisX.coef32f) {
                LinearRun<LinearFloatForm<variant, channels>, channels>(tile, ResizeBuffer(buffer), bufferEnd)
                    .run();
            } else {
                LinearRun<LinearFixedForm<variant, channels>, channels>(tile, ResizeBuffer(buffer), bufferEnd)
                    .run();
            }
            return resizeDoneStatus(call);
        }
    };
};

} // namespace

} // namespace primitives

using namespace primitives;

IppStatus ippiResizeLinearInit_8u(IppiSize srcSize, IppiSize dstSize, IppiResizeSpec* spec) {
    return dispatch<ResizeLinearInit>(srcSize, dstSize, spec);
}

IppStatus ippiResizeLinear_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                  IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                  const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLinear<1>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                            borderValue, spec, buffer);
}

IppStatus ippiResizeLinear_8u_C3R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                  IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                  const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLinear<3>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                            borderValue, spec, buffer);
}

IppStatus ippiResizeLinear_8u_C4R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                  IppiPoint dstOffset, IppiSize dstSize, uint32_t border,
                                  const Ipp8u* borderValue, const IppiResizeSpec* spec, Ipp8u* buffer) {
    return dispatch<ResizeLinear<4>::Entry>(src, srcStep, dst, dstStep, dstOffset, dstSize, border,
                                            borderValue, spec, buffer);
}
