#include "primitives/filter/BoxBuffer.h"

#include <algorithm>

#include "primitives/filter/BoxKernels.h"

namespace primitives {

namespace {

// No product of two sides overflows here: what has no valid size any more stays at the limit.
std::int64_t capped(std::int64_t a, std::int64_t b) {
    return a != 0 && b > kBoxBufferLimit / a ? kBoxBufferLimit : a * b;
}

std::int64_t roundUp(std::int64_t value, std::int64_t unit) {
    return (value + unit - 1) / unit * unit;
}

// The smallest mask whose window sums don't fit 31 bits, and the lowest whose column sums don't fit 32.
constexpr std::int64_t kWideArea = (std::int64_t{1} << 31) / 255 + 1;
constexpr std::int64_t kWideHeight = (std::int64_t{1} << 32) / 255 + 1;

BoxMethod vectorMethod(const BoxGeometry& geometry) {
    const std::int64_t side = geometry.maskWidth;
    if (side == geometry.maskHeight && (side == 3 || side == 5 || side == 7)) {
        return BoxMethod::small;
    }
    return geometry.maskHeight <= kBoxNarrowHeight ? BoxMethod::narrow : BoxMethod::wide;
}

// Appends a region; the regions add up to less than the limit, since the callers ask for valid sizes only.
std::size_t append(std::size_t& end, std::int64_t bytes) {
    const std::size_t start = end;
    end += static_cast<std::size_t>(bytes);
    return start;
}

template <typename Columns>
BoxLayout placeColumns(BoxMethod method, const BoxGeometry& geometry) {
    constexpr std::int64_t planes = Columns::planes;
    constexpr std::int64_t sumBytes = sizeof(typename Columns::Sum);
    constexpr std::int64_t block = planes > 1 ? std::int64_t{kBoxBlock} : 1;
    const std::int64_t from = roundUp(geometry.firstColumn - geometry.columnBefore(), block);
    const std::int64_t before = from - (geometry.firstColumn - geometry.columnBefore());
    const std::int64_t moved = from + roundUp(geometry.columnCount, block);
    const std::int64_t summed = before + geometry.maskWidth + roundUp(geometry.width, block);
    const std::int64_t stride = roundUp(std::max(moved, summed), planes * block) / planes;

    BoxLayout layout{};
    layout.method = method;
    layout.alignment = planes > 1 ? kBoxBlock : sumBytes;
    layout.columnStride = static_cast<std::size_t>(stride);
    layout.columnFrom = static_cast<std::size_t>(from);
    layout.end = layout.alignment - 1;
    layout.columnBytes = static_cast<std::size_t>(planes * stride * sumBytes);
    append(layout.end, planes * stride * sumBytes);
    return layout;
}

} // namespace

std::int64_t boxBufferSize(IppiSize roi, IppiSize mask, std::int64_t bytes, std::int64_t channels) {
    const BoxGeometry geometry = makeBoxGeometry(roi, mask, 0);
    const std::int64_t width = geometry.width;
    const std::int64_t height = geometry.height;
    const std::int64_t maskWidth = geometry.maskWidth;
    const std::int64_t maskHeight = geometry.maskHeight;
    const std::int64_t sample = bytes * channels;

    // Enlarged copies of edges, or of an image that isn't much larger than the mask.
    const std::int64_t reachX = geometry.reach();
    const std::int64_t reachY = height + maskHeight - 1;
    std::int64_t copies = sample * capped(width, geometry.anchorY + 1) + 64;
    if (maskWidth >= width - maskWidth + 1 || maskHeight >= height - maskHeight + 1) {
        copies = std::max(copies, sample * capped(reachX, reachY));
    }

    // Rows and columns that are saved when an image is filtered in place.
    const std::int64_t rows = capped(reachX, maskHeight - 2 + maskHeight - geometry.anchorY);
    const std::int64_t columns = capped(reachY, maskWidth - 2 + maskWidth - geometry.anchorX);
    const std::int64_t moreRows = maskHeight == 2 ? rows + reachX : rows;
    const std::int64_t moreColumns = maskWidth == 2 ? columns + reachY : columns;
    const std::int64_t saved = 4 * channels * (rows + columns + moreRows + moreColumns);

    const std::int64_t sums = (width + maskWidth + 3) * 4 * (channels > 1 ? 4 : 1);
    const std::int64_t rowPointers = 8 * (geometry.anchorY + 1);
    return saved + sums + copies + rowPointers;
}

BoxGeometry makeBoxGeometry(IppiSize roi, IppiSize mask, std::uint32_t memory) {
    BoxGeometry geometry{};
    geometry.width = roi.width;
    geometry.height = roi.height;
    geometry.maskWidth = mask.width;
    geometry.maskHeight = mask.height;
    geometry.anchorX = (geometry.maskWidth - 1) / 2;
    geometry.anchorY = (geometry.maskHeight - 1) / 2;
    geometry.firstColumn = memory & ippBorderInMemLeft ? -geometry.anchorX : 0;
    const std::int64_t end = geometry.width + (memory & ippBorderInMemRight ? geometry.maskRight() : 0);
    geometry.columnCount = end - geometry.firstColumn;
    return geometry;
}

// Everything fits the size that callers are told. The sums of plain columns take the place meant for them.
// Masks of one row keep nothing else; with R = `reach` and taller masks the saved rows are at least 20 R
// bytes, and 24 R anchorY bytes from three rows on, which is more than the constant row of R bytes, the
// anchorY + 1 kept rows and the wider sums of tall columns together. All rows of an image are kept only when
// there is room for its enlarged copy.
BoxLayout makeBoxLayout(const BoxGeometry& geometry, bool hasConstantRows, bool inPlace) {
    const IppiSize roi{static_cast<std::int32_t>(geometry.width), static_cast<std::int32_t>(geometry.height)};
    const IppiSize mask{static_cast<std::int32_t>(geometry.maskWidth),
                        static_cast<std::int32_t>(geometry.maskHeight)};
    const std::int64_t constantBytes = hasConstantRows ? geometry.reach() : 0;
    std::int64_t keptRowCount = 0;
    if (inPlace && geometry.maskHeight > 1) {
        keptRowCount = geometry.height <= geometry.maskHeight ? geometry.height : geometry.anchorY + 1;
    }

    const auto complete = [&](BoxLayout layout) {
        layout.constantRow = append(layout.end, constantBytes);
        layout.keptRowCount = keptRowCount;
        layout.keptRows = append(layout.end, keptRowCount * geometry.columnCount);
        return layout;
    };
    if (geometry.maskWidth * geometry.maskHeight < kWideArea) {
        const BoxMethod method = vectorMethod(geometry);
        const BoxLayout layout =
            complete(method == BoxMethod::wide ? placeColumns<BoxWideColumns>(method, geometry)
                                               : placeColumns<BoxNarrowColumns>(method, geometry));
        if (static_cast<std::int64_t>(layout.end) <= boxBufferSize(roi, mask, 1, 1)) {
            return layout;
        }
    }
    if (geometry.maskHeight < kWideHeight) {
        return complete(placeColumns<BoxPlainColumns>(BoxMethod::plain, geometry));
    }
    return complete(placeColumns<BoxTallColumns>(BoxMethod::tall, geometry));
}

} // namespace primitives
