#include "primitives/warp/WarpGeometry.h"

#include <algorithm>
#include <cmath>

#include "primitives/core/Math.h"

namespace primitives {
namespace {

// A whole number within [low, high]; not-a-number gives `low`.
std::int32_t wholeWithin(double whole, std::int32_t low, std::int32_t high) {
    if (!(whole > low)) {
        return low;
    }
    return whole >= high ? high : static_cast<std::int32_t>(whole);
}

double cross(WarpPoint a, WarpPoint b) {
    return a.x * b.y - a.y * b.x;
}

bool isWhole(double value) {
    return std::isfinite(value) && ippFloor64f(value) == value;
}

} // namespace

bool isSingular(const WarpMatrix& m) {
    const double p = m[0] * m[4];
    const double q = m[1] * m[3];
    if (std::fabs(p) <= 1e-200) {
        return std::fabs(q) <= 1e-10;
    }
    return std::fabs((p - q) / p) <= 1e-10;
}

WarpMatrix inverseOf(const WarpMatrix& m) {
    constexpr double least = 2.220446049250313e-16;
    const double d = m[0] * m[4] - m[1] * m[3];
    if (std::fabs(d) < least) {
        return {};
    }
    return {m[4] / d,  -m[1] / d, (m[1] * m[5] - m[4] * m[2]) / d,
            -m[3] / d, m[0] / d,  (m[3] * m[2] - m[0] * m[5]) / d};
}

bool isPureShift(const WarpMatrix& m) {
    return isWhole(m[2]) && isWhole(m[5]) && m[0] == 1.0 && m[1] == 0.0 && m[3] == 0.0 && m[4] == 1.0;
}

WarpShift wholeShift(double x, double y) {
    // Far more than a side, and sums with sides fit 64 bits.
    static constexpr double farthest = 0x1p40;
    const auto whole = [](double value) {
        return static_cast<std::int64_t>(std::nearbyint(std::clamp(value, -farthest, farthest)));
    };
    return {whole(x), whole(y)};
}

WarpQuad mapRectangle(const WarpMatrix& m, WarpPoint low, WarpPoint high) {
    const auto map = [&m](double x, double y) {
        return WarpPoint{m[0] * x + m[1] * y + m[2], m[3] * x + m[4] * y + m[5]};
    };
    return {map(low.x, low.y), map(high.x, low.y), map(high.x, high.y), map(low.x, high.y)};
}

bool isConvex(const WarpQuad& quad, bool* isClockwise) {
    int clockwise = 0;
    int counter = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const WarpPoint a = quad[i];
        const WarpPoint b = quad[(i + 1) % 4];
        const WarpPoint c = quad[(i + 2) % 4];
        const double turn = cross({b.x - a.x, b.y - a.y}, {c.x - b.x, c.y - b.y});
        clockwise += turn > 0.0 ? 1 : 0;
        counter += turn < 0.0 ? 1 : 0;
    }
    if (isClockwise) {
        *isClockwise = clockwise == 4;
    }
    return clockwise == 4 || counter == 4;
}

WarpFigure::WarpFigure(const WarpQuad& quad, IppiSize dstSize) : dstSize_(dstSize), count_(quad.size()) {
    std::copy(quad.begin(), quad.end(), corners_.begin());
    cut(&WarpPoint::x, &WarpPoint::y, 0.0, false);
    cut(&WarpPoint::x, &WarpPoint::y, dstSize.width - 1.0, true);
    cut(&WarpPoint::y, &WarpPoint::x, 0.0, false);
    cut(&WarpPoint::y, &WarpPoint::x, dstSize.height - 1.0, true);
    if (count_ == 0) {
        return;
    }
    const auto [top, bottom] =
        std::minmax_element(corners_.begin(), corners_.begin() + static_cast<std::ptrdiff_t>(count_),
                            [](WarpPoint a, WarpPoint b) { return a.y < b.y; });
    const std::int32_t first = wholeWithin(ippCeil64f(top->y), 0, dstSize.height - 1);
    const std::int32_t last = wholeWithin(ippFloor64f(bottom->y), 0, dstSize.height - 1);
    if (first <= last) {
        firstRow_ = first;
        lastRow_ = last;
    }
}

// Cuts the figure along the line where the coordinate `across` is `limit`. Corners on the line stay.
void WarpFigure::cut(double WarpPoint::*across, double WarpPoint::*along, double limit, bool keepsBelow) {
    const auto isKept = [&](WarpPoint p) { return keepsBelow ? p.*across <= limit : p.*across >= limit; };
    const std::array<WarpPoint, kMostCorners> whole = corners_;
    const std::size_t count = count_;
    count_ = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const WarpPoint from = whole[i];
        const WarpPoint to = whole[(i + 1) % count];
        if (isKept(from)) {
            corners_[count_++] = from;
        }
        if (isKept(from) != isKept(to) && from.*across != limit && to.*across != limit) {
            WarpPoint crossing;
            const double part = (limit - from.*across) / (to.*across - from.*across);
            crossing.*across = limit;
            crossing.*along = from.*along + part * (to.*along - from.*along);
            corners_[count_++] = crossing;
        }
    }
}

void WarpFigure::fillTable(WarpColumns* table) const {
    std::fill_n(table, rows(), WarpColumns{dstSize_.width, -1});
    for (std::size_t i = 0; i < count_; ++i) {
        fillEdge(corners_[i], corners_[(i + 1) % count_], table);
    }
}

// Widens the rows that an edge passes through to reach the edge.
void WarpFigure::fillEdge(WarpPoint from, WarpPoint to, WarpColumns* table) const {
    const auto widen = [this, table](std::int32_t row, double x) {
        WarpColumns& columns = table[row - firstRow_];
        const double within = std::clamp(x, 0.0, dstSize_.width - 1.0);
        columns.first = std::min(columns.first, wholeWithin(ippCeil64f(within), 0, dstSize_.width - 1));
        columns.last = std::max(columns.last, wholeWithin(ippFloor64f(within), 0, dstSize_.width - 1));
    };
    if (from.y > to.y) {
        std::swap(from, to);
    }
    if (firstRow_ > lastRow_) {
        return;
    }
    // Up to one row more at each end than the edge has, for conversions; the loop tests in floating point.
    const std::int32_t first = wholeWithin(ippCeil64f(from.y), firstRow_, lastRow_);
    const std::int32_t last = wholeWithin(ippFloor64f(to.y), firstRow_, lastRow_);
    for (std::int32_t row = first; row <= last; ++row) {
        const double y = row;
        if (y < from.y || y > to.y) {
            continue;
        }
        if (from.y == to.y) {
            widen(row, from.x);
            widen(row, to.x);
        } else {
            widen(row, from.x + (y - from.y) / (to.y - from.y) * (to.x - from.x));
        }
    }
}

} // namespace primitives
