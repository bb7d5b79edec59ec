#include "primitives/filter/FilterBox.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "primitives/core/Dispatch.h"
#include "primitives/filter/BoxBuffer.h"
#include "primitives/filter/BoxKernels.h"

namespace primitives {

namespace {

// The image and what lies around it.
struct BoxImage {
    const Ipp8u* src;
    std::ptrdiff_t srcStep;
    Ipp8u* dst;
    std::ptrdiff_t dstStep;
    std::uint32_t kind; // of the border: ippBorderRepl and so on
    std::uint32_t memory;
    Ipp8u value;
};

// A place beyond 0 ... size - 1 in a border that repeats the image.
std::int64_t foldBorder(std::int64_t at, std::int64_t size, std::uint32_t kind) {
    if (kind != ippBorderMirror) {
        return std::clamp(at, std::int64_t{0}, size - 1);
    }
    const std::int64_t period = std::max(2 * (size - 1), std::int64_t{1});
    const std::int64_t rest = (at % period + period) % period;
    return rest < size ? rest : period - rest;
}

// The rows below the masks, above and below the image too. Of an image that is filtered in place the rows
// that are already written are kept as they were.
class BoxRows {
public:
    BoxRows(const BoxImage& image, const BoxGeometry& geometry, const BoxLayout& layout, Ipp8u* buffer)
        : image_(image), geometry_(geometry), constantRow_(buffer + layout.constantRow),
          kept_(buffer + layout.keptRows), keptCount_(layout.keptRowCount) {}

    // The pixels of row `y` in the columns that exist in memory.
    const Ipp8u* at(std::int64_t y) const {
        const bool isAbove = y < 0 && !(image_.memory & ippBorderInMemTop);
        const bool isBelow = y >= geometry_.height && !(image_.memory & ippBorderInMemBottom);
        if (isAbove || isBelow) {
            if (image_.kind == ippBorderConst) {
                return constantRow_;
            }
            y = foldBorder(y, geometry_.height, image_.kind);
        }
        return y >= 0 && y < keptEnd_ ? keptRow(y) : sourceRow(y);
    }

    // To be called for each row before it is written, from the first on.
    void keep(std::int64_t y) {
        if (keptCount_ > 0) {
            std::memcpy(keptRow(y), sourceRow(y), static_cast<std::size_t>(geometry_.columnCount));
            keptEnd_ = y + 1;
        }
    }

private:
    const Ipp8u* sourceRow(std::int64_t y) const {
        return image_.src + y * image_.srcStep + geometry_.firstColumn;
    }

    Ipp8u* keptRow(std::int64_t y) const { return kept_ + y % keptCount_ * geometry_.columnCount; }

    const BoxImage& image_;
    const BoxGeometry& geometry_;
    const Ipp8u* constantRow_;
    Ipp8u* kept_;
    std::int64_t keptCount_;
    std::int64_t keptEnd_ = 0;
};

Ipp8u* alignUp(Ipp8u* address, std::size_t alignment) {
    return address + (alignment - reinterpret_cast<std::uintptr_t>(address) % alignment) % alignment;
}

template <BoxMethod method>
struct ColumnsOf;
template <>
struct ColumnsOf<BoxMethod::small> {
    using Type = BoxNarrowColumns;
};
template <>
struct ColumnsOf<BoxMethod::narrow> {
    using Type = BoxNarrowColumns;
};
template <>
struct ColumnsOf<BoxMethod::wide> {
    using Type = BoxWideColumns;
};
template <>
struct ColumnsOf<BoxMethod::plain> {
    using Type = BoxPlainColumns;
};
template <>
struct ColumnsOf<BoxMethod::tall> {
    using Type = BoxTallColumns;
};

// The filter by one method, for one variant.
template <int variant, BoxMethod method>
class BoxRun {
public:
    BoxRun(const BoxImage& image, const BoxGeometry& geometry, const BoxLayout& layout, Ipp8u* buffer)
        : image_(image), geometry_(geometry),
          rows_(image, geometry, layout, buffer), columns_{reinterpret_cast<Sum*>(
                                                               alignUp(buffer, layout.alignment)),
                                                           layout.columnStride},
          from_(layout.columnFrom), columnBytes_(layout.columnBytes) {
        windows_.before = elementOf(geometry.columnBefore());
        windows_.maskWidth = static_cast<std::size_t>(geometry.maskWidth);
        windows_.count = static_cast<std::size_t>(geometry.width);
        windows_.recip = 1.0F / static_cast<float>(geometry.maskWidth * geometry.maskHeight);
        std::memset(buffer + layout.constantRow, image.value, layout.keptRows - layout.constantRow);
    }

    void run() {
        clear();
        for (std::int64_t y = -geometry_.anchorY; y <= geometry_.maskBelow(); ++y) {
            move(rows_.at(y), nullptr);
        }
        for (std::int64_t y = 0;;) {
            fillBorders();
            rows_.keep(y);
            write(image_.dst + y * image_.dstStep);
            if (++y == geometry_.height) {
                return;
            }
            advance(y);
        }
    }

private:
    using Columns = typename ColumnsOf<method>::Type;
    using Sum = typename Columns::Sum;
    static constexpr std::size_t planes = Columns::planes;

    std::size_t elementOf(std::int64_t column) const {
        return from_ + static_cast<std::size_t>(column - geometry_.firstColumn);
    }

    Sum& sumOf(std::int64_t column) const {
        const std::size_t e = elementOf(column);
        return columns_.sums[e % planes * columns_.stride + e / planes];
    }

    // Calls `work(first, last)` for the elements `from` to `to` - 1 plane by plane.
    template <typename Work>
    void forEachPlane(std::size_t from, std::size_t to, Work work) const {
        for (std::size_t plane = 0; plane < planes; ++plane) {
            Sum* sums = columns_.sums + plane * columns_.stride;
            const std::size_t skipped = planes - 1 - plane;
            work(sums + (from + skipped) / planes, sums + (to + skipped) / planes);
        }
    }

    void clear() { std::memset(static_cast<void*>(columns_.sums), 0, columnBytes_); }

    void move(const Ipp8u* entering, const Ipp8u* leaving) {
        BoxKernels<variant>::moveColumns(columns_, from_, entering, leaving,
                                         static_cast<std::size_t>(geometry_.columnCount));
    }

    // From the masks of the row before `y` to those of `y`.
    void advance(std::int64_t y) {
        const Ipp8u* entering = rows_.at(y + geometry_.maskBelow());
        if (geometry_.maskHeight == 1) { // the row that leaves is written already
            clear();
            move(entering, nullptr);
        } else {
            move(entering, rows_.at(y - 1 - geometry_.anchorY));
        }
    }

    // The sums of columns beside the image are those of the columns that they repeat.
    void fillBorders() {
        const std::int64_t end = geometry_.firstColumn + geometry_.columnCount;
        fillBorder(-geometry_.anchorX, geometry_.firstColumn);
        fillBorder(end, geometry_.width + geometry_.maskRight());
    }

    void fillBorder(std::int64_t first, std::int64_t end) {
        if (first >= end) {
            return;
        }
        if (image_.kind == ippBorderMirror) {
            for (std::int64_t column = first; column < end; ++column) {
                sumOf(column) = sumOf(foldBorder(column, geometry_.width, ippBorderMirror));
            }
            return;
        }
        const Sum sum = image_.kind == ippBorderConst
                            ? static_cast<Sum>(static_cast<Sum>(geometry_.maskHeight) * image_.value)
                            : sumOf(foldBorder(first, geometry_.width, ippBorderRepl));
        forEachPlane(elementOf(first), elementOf(end),
                     [sum](Sum* from, Sum* to) { std::fill(from, to, sum); });
    }

    void write(Ipp8u* to) {
        if constexpr (method == BoxMethod::small) {
            BoxKernels<variant>::writeSmallMeans(columns_, windows_, to);
        } else {
            windows_.startSum = sumFrom(windows_.before);
            BoxKernels<variant>::writeMeans(columns_, windows_, to);
        }
    }

    std::uint64_t sumFrom(std::size_t element) const {
        std::uint64_t total = 0;
        forEachPlane(element, element + windows_.maskWidth,
                     [&total](const Sum* from, const Sum* to) { total = std::accumulate(from, to, total); });
        return total;
    }

    const BoxImage& image_;
    const BoxGeometry& geometry_;
    BoxRows rows_;
    Columns columns_;
    std::size_t from_;
    std::size_t columnBytes_;
    BoxWindows windows_{};
};

bool isBelowOne(IppiSize size) {
    return size.width < 1 || size.height < 1;
}

IppStatus checkBox(const Ipp8u* src, std::int32_t srcStep, const Ipp8u* dst, std::int32_t dstStep,
                   IppiSize roi, IppiSize mask, std::uint32_t border, const Ipp8u* borderValue,
                   const Ipp8u* buffer) {
    const std::uint32_t kind = border & 15;
    if (!src || !dst || !buffer) {
        return ippStsNullPtrErr;
    }
    if (srcStep < 1 || dstStep < 1) {
        return ippStsStepErr;
    }
    if (isBelowOne(roi)) {
        return ippStsSizeErr;
    }
    if (isBelowOne(mask)) {
        return ippStsMaskSizeErr;
    }
    if (border > 255) {
        return ippStsBorderErr;
    }
    if (kind == ippBorderConst && !borderValue) {
        return ippStsNullPtrErr;
    }
    if (border != ippBorderInMem && kind != ippBorderRepl && kind != ippBorderMirror &&
        kind != ippBorderConst) {
        return ippStsBorderErr;
    }
    return boxBufferSize(roi, mask, 1, 1) < kBoxBufferLimit ? ippStsNoErr : ippStsExceededSizeErr;
}

template <int variant>
struct FilterBoxBorder {
    static IppStatus run(const Ipp8u* src, std::int32_t srcStep, Ipp8u* dst, std::int32_t dstStep,
                         IppiSize roi, IppiSize mask, std::uint32_t border, const Ipp8u* borderValue,
                         Ipp8u* buffer) {
        const IppStatus status = checkBox(src, srcStep, dst, dstStep, roi, mask, border, borderValue, buffer);
        if (status != ippStsNoErr) {
            return status;
        }
        const std::uint32_t kind = border & 15;
        const bool isConstant = kind == ippBorderConst;
        const BoxImage image{
            src, srcStep, dst, dstStep, kind, border - kind, isConstant ? *borderValue : Ipp8u{0}};
        const BoxGeometry geometry = makeBoxGeometry(roi, mask, image.memory);
        const BoxLayout layout = makeBoxLayout(geometry, isConstant && mask.height > 1, src == dst);
        runOn(image, geometry, layout, buffer);
        return ippStsNoErr;
    }

private:
    static void runOn(const BoxImage& image, const BoxGeometry& geometry, const BoxLayout& layout,
                      Ipp8u* buffer) {
        switch (layout.method) {
        case BoxMethod::small:
            return runBy<BoxMethod::small>(image, geometry, layout, buffer);
        case BoxMethod::narrow:
            return runBy<BoxMethod::narrow>(image, geometry, layout, buffer);
        case BoxMethod::wide:
            return runBy<BoxMethod::wide>(image, geometry, layout, buffer);
        case BoxMethod::plain:
            return runBy<BoxMethod::plain>(image, geometry, layout, buffer);
        case BoxMethod::tall:
            return runBy<BoxMethod::tall>(image, geometry, layout, buffer);
        }
    }

    template <BoxMethod method>
    static void runBy(const BoxImage& image, const BoxGeometry& geometry, const BoxLayout& layout,
                      Ipp8u* buffer) {
        BoxRun<variant, method>(image, geometry, layout, buffer).run();
    }
};

template <int variant>
struct FilterBoxBorderGetBufferSize {
    static IppStatus run(IppiSize roi, IppiSize mask, std::int32_t dataType, std::int32_t numChannels,
                         std::int32_t* bufferSize) {
        if (!bufferSize) {
            return ippStsNullPtrErr;
        }
        if (isBelowOne(roi)) {
            return ippStsSizeErr;
        }
        if (isBelowOne(mask)) {
            return ippStsMaskSizeErr;
        }
        const std::int64_t bytes = dataType == ipp8u                          ? 1
                                   : dataType == ipp16u || dataType == ipp16s ? 2
                                   : dataType == ipp32f                       ? 4
                                                                              : 0;
        if (bytes == 0) {
            return ippStsDataTypeErr;
        }
        if (numChannels != 1 && numChannels != 3 && numChannels != 4) {
            return ippStsNumChannelsErr;
        }
        const std::int64_t size = boxBufferSize(roi, mask, bytes, numChannels);
        if (size >= kBoxBufferLimit) {
            return ippStsExceededSizeErr;
        }
        *bufferSize = static_cast<std::int32_t>(size);
        return ippStsNoErr;
    }
};

} // namespace

} // namespace primitives

IppStatus ippiFilterBoxBorderGetBufferSize(IppiSize roiSize, IppiSize maskSize, int32_t dataType,
                                           int32_t numChannels, int32_t* bufferSize) {
    using namespace primitives;
    return dispatch<FilterBoxBorderGetBufferSize>(roiSize, maskSize, dataType, numChannels, bufferSize);
}

IppStatus ippiFilterBoxBorder_8u_C1R(const Ipp8u* src, int32_t srcStep, Ipp8u* dst, int32_t dstStep,
                                     IppiSize roiSize, IppiSize maskSize, uint32_t border,
                                     const Ipp8u* borderValue, Ipp8u* buffer) {
    using namespace primitives;
    return dispatch<FilterBoxBorder>(src, srcStep, dst, dstStep, roiSize, maskSize, border, borderValue,
                                     buffer);
}
