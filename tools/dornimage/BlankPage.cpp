#include "BlankPage.h"

#include "GreyPage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>

namespace {

constexpr double workingDpi = 150;
constexpr double metresPerInch = 0.0254;
constexpr double edgeDepth = 10;  // millimetres that a dark scan edge reaches into the page
constexpr double edgeRim = 0.5;   // millimetres of light that may lie outside of it
constexpr unsigned edgeParts = 3; // one of so many parts of the side is its least length
constexpr unsigned edgeGap = 2;   // pixels that may be missing in its length
constexpr double edgeWindow = 5;  // millimetres to either side whose depths are compared
constexpr double edgeSlack = 0.5; // millimetres by which it may be deeper than those
constexpr unsigned halfDark = 2;  // pixels of a ring around what is filled
constexpr double holeReach = 22;  // millimetres from the page's edge to a hole's far side
constexpr double leastHole = 4;   // millimetres across
constexpr double greatestHole = 9;
constexpr double holeRing = 0.5;   // millimetres around it that may be half dark
constexpr double discShare = 0.93; // of its pixels within the circle of its area: a square has 0.91
constexpr double pi = 3.141592653589793;
constexpr int markContrast = 36;       // grey levels from the surroundings to a mark
constexpr unsigned leastContrast = 50; // grey levels from the paper to what is dark

// Dots per inch along a side. A missing or absurd figure is replaced by that of an A4 page, and so is what
// codecs say of files without a resolution when it would make a poster of the page; 300 are assumed at most,
// because a page that is reduced too far loses its marks.
double dotsPerInch(unsigned perMetre, unsigned longSide) {
    const double dpi = perMetre * metresPerInch;
    const bool isPoster = dpi < 100 && longSide / dpi > 24;
    return dpi >= 60 && dpi <= 2400 && !isPoster ? dpi : std::min(300.0, longSide / 11.69);
}

unsigned factorFor(double dpi, unsigned side) {
    const auto factor = static_cast<unsigned>(std::clamp(std::lround(dpi / workingDpi), 1L, 16L));
    return side / factor < 34 ? 1 : factor;
}

template <class Value>
Value median(std::vector<Value>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Of the values at most `window` places from place `i`, inside `from` and `to`.
template <class Value>
Value medianAround(const std::vector<Value>& values, unsigned i, unsigned window, unsigned from,
                   unsigned to) {
    std::vector<Value> around(values.begin() + std::max(i, from + window) - window,
                              values.begin() + std::min(to, i + window + 1));
    return median(around);
}

} // namespace

// One side of the page, seen from outside: `along` counts from the left or the bottom, `depth` inwards.
struct BlankPage::Edge {
    unsigned length;
    unsigned depth; // of the whole page
    double perMillimetreAlong;
    double perMillimetreDeep;
    bool upright; // the left or right side
    bool far;     // the right or upper side

    Spot spot(unsigned along, unsigned deep) const {
        const unsigned across = far ? depth - 1 - deep : deep;
        return upright ? Spot{across, along} : Spot{along, across};
    }
};

BlankPage::BlankPage(FIBITMAP* grey) {
    reduce(grey);
    findPaper();
    removeEdges();
    removeHoles();
    addMargin();
    measureMarks();
    colour_.attach(FreeImage_ConvertTo24Bits(bitmap_.get()));
    if (!colour_.get()) {
        throw std::bad_alloc();
    }
}

double BlankPage::edgeShare() const {
    return static_cast<double>(edgePixels_) / (static_cast<double>(width_) * height_);
}

void BlankPage::reduce(FIBITMAP* grey) {
    const unsigned fullWidth = FreeImage_GetWidth(grey);
    const unsigned fullHeight = FreeImage_GetHeight(grey);
    const unsigned longSide = std::max(fullWidth, fullHeight);
    const double dpiX = dotsPerInch(FreeImage_GetDotsPerMeterX(grey), longSide);
    const double dpiY = dotsPerInch(FreeImage_GetDotsPerMeterY(grey), longSide);
    factorX_ = factorFor(dpiX, fullWidth);
    factorY_ = factorFor(dpiY, fullHeight);
    perMillimetreX_ = dpiX / factorX_ / (1000 * metresPerInch);
    perMillimetreY_ = dpiY / factorY_ / (1000 * metresPerInch);
    const GreyPage page = reduced(grey, factorX_, factorY_);
    width_ = page.width;
    height_ = page.height;
    bitmap_.attach(
        FreeImage_Allocate(static_cast<int>(width_ + 2 * margin), static_cast<int>(height_ + 2 * margin), 8));
    if (!bitmap_.get()) {
        throw std::bad_alloc();
    }
    bits_ = FreeImage_GetBits(bitmap_.get());
    pitch_ = FreeImage_GetPitch(bitmap_.get());
    for (unsigned y = 0; y < height_; ++y) {
        std::copy_n(page.line(y), width_, pixels(y));
    }
}

// Paper is the median level. A page that is mostly dark is turned light.
void BlankPage::findPaper() {
    std::array<std::size_t, 256> counts{};
    for (unsigned y = 0; y < height_; ++y) {
        for (unsigned x = 0; x < width_; ++x) {
            ++counts[line(y)[x]];
        }
    }
    std::size_t below = 0;
    for (paperLevel_ = 0; paperLevel_ < 255; ++paperLevel_) {
        below += counts[paperLevel_];
        if (2 * below >= std::size_t{width_} * height_) {
            break;
        }
    }
    if (paperLevel_ < 96) {
        inverted_ = true;
        paperLevel_ = 255 - paperLevel_;
        for (unsigned y = 0; y < height_; ++y) {
            std::for_each(pixels(y), pixels(y) + width_, [](BYTE& pixel) { pixel = BYTE(255 - pixel); });
        }
    }
    darkLevel_ = paperLevel_ - std::max(leastContrast, paperLevel_ / 4);
}

BlankPage::Edge BlankPage::edgeOf(bool upright, bool far) const {
    return upright ? Edge{height_, width_, perMillimetreY_, perMillimetreX_, upright, far}
                   : Edge{width_, height_, perMillimetreX_, perMillimetreY_, upright, far};
}

// How deep the dark that begins at the edge goes at each place along it; 0 where there is none.
std::vector<unsigned> BlankPage::darkDepths(const Edge& edge) const {
    const auto rim = static_cast<unsigned>(edgeRim * edge.perMillimetreDeep);
    const unsigned deepest = std::min(edge.depth, static_cast<unsigned>(edgeDepth * edge.perMillimetreDeep));
    std::vector<unsigned> depths(edge.length);
    for (unsigned i = 0; i < edge.length; ++i) {
        const auto isDarkAt = [&](unsigned deep) {
            const Spot spot = edge.spot(i, deep);
            return isDark(spot.x, spot.y);
        };
        unsigned deep = 0;
        while (deep < std::min(rim, deepest) && !isDarkAt(deep)) {
            ++deep;
        }
        while (deep < deepest && isDarkAt(deep)) {
            depths[i] = ++deep;
        }
    }
    return depths;
}

// Only what is dark without a break along a good part of a side is the scanner's; a number that is cut by
// the edge, or a stamp, is not.
void BlankPage::removeEdges() {
    for (const bool upright : {true, false}) {
        for (const bool far : {false, true}) {
            const Edge edge = edgeOf(upright, far);
            const std::vector<unsigned> depths = darkDepths(edge);
            for (unsigned from = 0; from < edge.length; ++from) {
                if (depths[from] == 0) {
                    continue;
                }
                unsigned to = from + 1; // behind the last dark place of the stretch
                for (unsigned i = to; i < std::min(edge.length, to + edgeGap + 1); ++i) {
                    to = depths[i] > 0 ? i + 1 : to;
                }
                if (to - from >= edge.length / edgeParts) {
                    removeBand(edge, depths, from, to);
                }
                from = to;
            }
        }
    }
}

// A stroke that touches the band stays: it is deeper than what is beside it. What is removed becomes like the
// paper behind it; medians, so that a speck there does not become a streak.
void BlankPage::removeBand(const Edge& edge, const std::vector<unsigned>& depths, unsigned from,
                           unsigned to) {
    const auto window = static_cast<unsigned>(edgeWindow * edge.perMillimetreAlong);
    const auto slack = static_cast<unsigned>(edgeSlack * edge.perMillimetreDeep);
    std::vector<unsigned> ends(to - from);
    std::vector<BYTE> behind(to - from);
    for (unsigned i = from; i < to; ++i) {
        const unsigned usual = medianAround(depths, i, window, from, to);
        ends[i - from] = std::min(std::min(depths[i], usual + slack) + halfDark, edge.depth - 1);
        const Spot spot = edge.spot(i, ends[i - from]);
        behind[i - from] = line(spot.y)[spot.x];
    }
    for (unsigned i = 0; i < to - from; ++i) {
        const BYTE paper = medianAround(behind, i, window, 0, to - from);
        for (unsigned deep = 0; deep < ends[i]; ++deep) {
            const Spot spot = edge.spot(from + i, deep);
            pixels(spot.y)[spot.x] = paper;
        }
        edgePixels_ += ends[i];
    }
}

void BlankPage::removeHoles() {
    std::vector<bool> seen(std::size_t{width_} * height_);
    for (unsigned y = 0; y < height_; ++y) {
        for (unsigned x = 0; x < width_; ++x) {
            if (!seen[at(x, y)] && isDark(x, y)) {
                const Blob blob =
                    takeBlob({x, y}, seen, [this](unsigned i, unsigned k) { return isDark(i, k); });
                if (const std::optional<Disc> hole = holeIn(blob)) {
                    ++holes_;
                    fill(*hole);
                }
            }
        }
    }
}

// A disc of the size of a punched hole, near the page's edge. Specks may touch it.
std::optional<BlankPage::Disc> BlankPage::holeIn(const Blob& blob) const {
    const auto area = static_cast<double>(blob.spots.size());
    Disc disc{0, 0, std::sqrt(area / (perMillimetreX_ * perMillimetreY_ * pi))};
    if (disc.radius < leastHole / 2 || disc.radius > greatestHole / 2) {
        return std::nullopt;
    }
    for (const Spot spot : blob.spots) {
        disc.x += spot.x / area;
        disc.y += spot.y / area;
    }
    const double toSideX = std::min(disc.x, width_ - disc.x) / perMillimetreX_;
    const double toSideY = std::min(disc.y, height_ - disc.y) / perMillimetreY_;
    if (std::min(toSideX, toSideY) + disc.radius > holeReach) {
        return std::nullopt;
    }
    const double reach = disc.radius + 0.5 / std::min(perMillimetreX_, perMillimetreY_);
    const auto inside = std::count_if(blob.spots.begin(), blob.spots.end(), [&](Spot spot) {
        return std::hypot((spot.x - disc.x) / perMillimetreX_, (spot.y - disc.y) / perMillimetreY_) <= reach;
    });
    return static_cast<double>(inside) > discShare * area ? std::optional(disc) : std::nullopt;
}

// With the paper around it.
void BlankPage::fill(const Disc& hole) {
    const double reach = hole.radius + 2 * holeRing;
    const auto ends = [](double middle, double half, unsigned side) {
        return std::pair(static_cast<unsigned>(std::max(0.0, middle - half)),
                         std::min(side, static_cast<unsigned>(middle + half) + 1));
    };
    const auto [left, right] = ends(hole.x, reach * perMillimetreX_, width_);
    const auto [bottom, top] = ends(hole.y, reach * perMillimetreY_, height_);
    std::vector<BYTE> around;
    std::vector<Spot> inside;
    for (unsigned y = bottom; y < top; ++y) {
        for (unsigned x = left; x < right; ++x) {
            const double distance =
                std::hypot((x - hole.x) / perMillimetreX_, (y - hole.y) / perMillimetreY_);
            if (distance < hole.radius + holeRing) {
                inside.push_back({x, y});
            } else {
                around.push_back(line(y)[x]);
            }
        }
    }
    const BYTE paper = median(around);
    for (const Spot spot : inside) {
        pixels(spot.y)[spot.x] = paper;
    }
}

// The paper beside each place of an edge: medians of blocks, so that marks do not count.
std::vector<BYTE> BlankPage::paperAlong(const Edge& edge) const {
    constexpr unsigned block = 16;
    constexpr unsigned depth = 8;
    std::vector<BYTE> paper(edge.length);
    std::vector<BYTE> around;
    for (unsigned from = 0; from < edge.length; from += block) {
        around.clear();
        for (unsigned i = from - std::min(from, block); i < std::min(edge.length, from + 2 * block); ++i) {
            for (unsigned deep = 0; deep < std::min(edge.depth, depth); ++deep) {
                const Spot spot = edge.spot(i, deep);
                around.push_back(line(spot.y)[spot.x]);
            }
        }
        std::fill_n(paper.begin() + from, std::min(block, edge.length - from), median(around));
    }
    return paper;
}

void BlankPage::addMargin() {
    const std::vector<BYTE> left = paperAlong(edgeOf(true, false));
    const std::vector<BYTE> right = paperAlong(edgeOf(true, true));
    for (unsigned y = 0; y < height_; ++y) {
        std::fill_n(pixels(y) - margin, margin, left[y]);
        std::fill_n(pixels(y) + width_, margin, right[y]);
    }
    for (const bool upper : {false, true}) {
        std::vector<BYTE> outside(width_ + 2 * margin);
        const std::vector<BYTE> paper = paperAlong(edgeOf(false, upper));
        std::fill_n(outside.begin(), margin, paper.front());
        std::copy(paper.begin(), paper.end(), outside.begin() + margin);
        std::fill_n(outside.end() - margin, margin, paper.back());
        for (unsigned i = 0; i < margin; ++i) {
            const unsigned row = upper ? height_ + margin + i : i;
            std::copy(outside.begin(), outside.end(),
                      FreeImage_GetScanLine(bitmap_.get(), static_cast<int>(row)));
        }
    }
}

// Marks are darker than their surroundings, however dim the light is there.
void BlankPage::measureMarks() {
    constexpr IppiSize around = {33, 33};
    const IppiSize size = {static_cast<int>(width_ + 2 * margin), static_cast<int>(height_ + 2 * margin)};
    const auto step = static_cast<int>(FreeImage_GetPitch(bitmap_.get()));
    std::vector<BYTE> means(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
    int bufferSize = 0;
    IppStatus status = ippiFilterBoxBorderGetBufferSize(size, around, ipp8u, 1, &bufferSize);
    std::vector<BYTE> buffer(static_cast<std::size_t>(bufferSize));
    if (status == ippStsNoErr) {
        status = ippiFilterBoxBorder_8u_C1R(FreeImage_GetBits(bitmap_.get()), step, means.data(), size.width,
                                            size, around, ippBorderRepl, nullptr, buffer.data());
    }
    if (status != ippStsNoErr) {
        throw std::bad_alloc(); // the only thing that can be wrong with these arguments is their size
    }
    const auto isMark = [&](unsigned x, unsigned y) {
        const BYTE* const mean = means.data() + std::size_t{y + margin} * (width_ + 2 * margin) + margin;
        return line(y)[x] + markContrast < mean[x];
    };
    lengths_.resize(std::size_t{width_} * height_);
    std::vector<bool> seen(lengths_.size());
    for (unsigned y = 0; y < height_; ++y) {
        for (unsigned x = 0; x < width_; ++x) {
            if (seen[at(x, y)] || !isMark(x, y)) {
                continue;
            }
            const Blob blob = takeBlob({x, y}, seen, isMark);
            const auto length = static_cast<float>(std::max((blob.right - blob.left + 1) / perMillimetreX_,
                                                            (blob.top - blob.bottom + 1) / perMillimetreY_));
            for (const Spot spot : blob.spots) {
                lengths_[at(spot.x, spot.y)] = length;
            }
        }
    }
}

double BlankPage::longestMark(unsigned left, unsigned bottom, unsigned width, unsigned height) const {
    float longest = 0;
    for (unsigned y = bottom; y < bottom + height; ++y) {
        const auto row = lengths_.begin() + static_cast<std::ptrdiff_t>(at(left, y));
        longest = std::max(longest, *std::max_element(row, row + width));
    }
    return longest;
}

template <class Belongs>
BlankPage::Blob BlankPage::takeBlob(Spot start, std::vector<bool>& seen, Belongs belongs) const {
    Blob blob{{start}, start.x, start.x, start.y, start.y};
    seen[at(start.x, start.y)] = true;
    for (std::size_t next = 0; next < blob.spots.size(); ++next) {
        const Spot spot = blob.spots[next];
        blob.left = std::min(blob.left, spot.x);
        blob.right = std::max(blob.right, spot.x);
        blob.bottom = std::min(blob.bottom, spot.y);
        blob.top = std::max(blob.top, spot.y);
        for (unsigned y = spot.y - (spot.y > 0); y <= std::min(spot.y + 1, height_ - 1); ++y) {
            for (unsigned x = spot.x - (spot.x > 0); x <= std::min(spot.x + 1, width_ - 1); ++x) {
                if (!seen[at(x, y)] && belongs(x, y)) {
                    seen[at(x, y)] = true;
                    blob.spots.push_back({x, y});
                }
            }
        }
    }
    return blob;
}
