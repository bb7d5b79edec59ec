#include "BlankPage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>

namespace {

constexpr double workingDpi = 150;
constexpr double metresPerInch = 0.0254;
constexpr double edgeDepth = 10; // millimetres that a dark scan edge reaches into the page
constexpr double holeReach = 22; // millimetres from the page's edge to a hole's far side
constexpr double leastHole = 4;  // millimetres across
constexpr double greatestHole = 9;
constexpr int markContrast = 36;       // grey levels from the surroundings to a mark
constexpr unsigned leastContrast = 50; // grey levels from the paper to what is dark

// Dots per inch along a side; a missing or absurd figure is replaced by that of an A4 page.
double dotsPerInch(unsigned perMetre, unsigned longSide) {
    const double dpi = perMetre * metresPerInch;
    return dpi >= 60 && dpi <= 2400 ? dpi : longSide / 11.69;
}

unsigned factorFor(double dpi, unsigned side) {
    const unsigned factor = std::max(1U, static_cast<unsigned>(std::lround(dpi / workingDpi)));
    return side / factor < 34 ? 1 : factor; // no less than the detector takes
}

} // namespace

BlankPage::BlankPage(FIBITMAP* grey) {
    reduce(grey);
    findPaper();
    masked_.resize(std::size_t{width_} * height_);
    markEdges();
    markHoles();
    fillMasked();
    measureMarks();
}

double BlankPage::edgeShare() const {
    return static_cast<double>(edgePixels_) / static_cast<double>(masked_.size());
}

void BlankPage::reduce(FIBITMAP* grey) {
    const unsigned fullWidth = FreeImage_GetWidth(grey);
    const unsigned fullHeight = FreeImage_GetHeight(grey);
    const unsigned longSide = std::max(fullWidth, fullHeight);
    const double dpiX = dotsPerInch(FreeImage_GetDotsPerMeterX(grey), longSide);
    factorX_ = factorFor(dpiX, fullWidth);
    factorY_ = factorFor(dotsPerInch(FreeImage_GetDotsPerMeterY(grey), longSide), fullHeight);
    width_ = fullWidth / factorX_;
    height_ = fullHeight / factorY_;
    pixelsPerMillimetre_ = dpiX / factorX_ / (1000 * metresPerInch);
    bitmap_.attach(FreeImage_Allocate(static_cast<int>(width_), static_cast<int>(height_), 8));
    if (!bitmap_.get()) {
        throw std::bad_alloc();
    }
    const unsigned area = factorX_ * factorY_;
    std::vector<std::uint32_t> sums(width_);
    for (unsigned y = 0; y < height_; ++y) {
        std::fill(sums.begin(), sums.end(), area / 2);
        for (unsigned row = 0; row < factorY_; ++row) {
            const BYTE* const source = FreeImage_GetScanLine(grey, static_cast<int>(y * factorY_ + row));
            for (unsigned x = 0; x < width_; ++x) {
                for (unsigned column = 0; column < factorX_; ++column) {
                    sums[x] += source[x * factorX_ + column];
                }
            }
        }
        BYTE* const target = line(y);
        std::transform(sums.begin(), sums.end(), target,
                       [area](std::uint32_t sum) { return static_cast<BYTE>(sum / area); });
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
            std::for_each(line(y), line(y) + width_, [](BYTE& pixel) { pixel = BYTE(255 - pixel); });
        }
    }
    darkLevel_ = paperLevel_ - std::max(leastContrast, paperLevel_ / 4);
}

unsigned BlankPage::toEdge(unsigned x, unsigned y) const {
    return std::min(std::min(x, width_ - 1 - x), std::min(y, height_ - 1 - y));
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

// What is dark and connected with the page's edge, but not farther than a scanner's shadow reaches.
void BlankPage::markEdges() {
    const auto depth = static_cast<unsigned>(edgeDepth * pixelsPerMillimetre_);
    std::vector<bool> seen(masked_.size());
    for (unsigned y = 0; y < height_; ++y) {
        const bool whole = y == 0 || y == height_ - 1;
        for (unsigned x = 0; x < width_; x += whole ? 1 : std::max(1U, width_ - 1)) {
            if (!seen[at(x, y)] && isDark(x, y)) {
                const Blob blob = takeBlob({x, y}, seen, [&](unsigned i, unsigned k) {
                    return isDark(i, k) && toEdge(i, k) <= depth;
                });
                edgePixels_ += blob.spots.size();
                mask(blob, 2);
            }
        }
    }
}

void BlankPage::markHoles() {
    std::vector<bool> seen = masked_;
    for (unsigned y = 0; y < height_; ++y) {
        for (unsigned x = 0; x < width_; ++x) {
            if (!seen[at(x, y)] && isDark(x, y)) {
                const Blob blob =
                    takeBlob({x, y}, seen, [this](unsigned i, unsigned k) { return isDark(i, k); });
                if (isHole(blob)) {
                    ++holes_;
                    mask(blob, 3);
                }
            }
        }
    }
}

// Marks are darker than their surroundings, however dim the light is there.
void BlankPage::measureMarks() {
    constexpr IppiSize around = {33, 33};
    const IppiSize size = {static_cast<int>(width_), static_cast<int>(height_)};
    const auto step = static_cast<int>(FreeImage_GetPitch(bitmap_.get()));
    std::vector<BYTE> means(masked_.size());
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
    const auto isMark = [&](unsigned x, unsigned y) { return line(y)[x] + markContrast < means[at(x, y)]; };
    extents_.resize(masked_.size());
    std::vector<bool> seen(masked_.size());
    for (unsigned y = 0; y < height_; ++y) {
        for (unsigned x = 0; x < width_; ++x) {
            if (seen[at(x, y)] || !isMark(x, y)) {
                continue;
            }
            const Blob blob = takeBlob({x, y}, seen, isMark);
            const unsigned extent = std::max(blob.right - blob.left, blob.top - blob.bottom) + 1;
            for (const Spot spot : blob.spots) {
                extents_[at(spot.x, spot.y)] = static_cast<std::uint16_t>(std::min(extent, 0xFFFFU));
            }
        }
    }
}

double BlankPage::longestMark(unsigned left, unsigned bottom, unsigned width, unsigned height) const {
    std::uint16_t longest = 0;
    for (unsigned y = bottom; y < bottom + height; ++y) {
        const auto row = extents_.begin() + static_cast<std::ptrdiff_t>(at(left, y));
        longest = std::max(longest, *std::max_element(row, row + width));
    }
    return longest / pixelsPerMillimetre_;
}

// A disc of the size of a punched hole, wholly near the page's edge.
bool BlankPage::isHole(const Blob& blob) const {
    const double across = (blob.right - blob.left + 1) / pixelsPerMillimetre_;
    const double down = (blob.top - blob.bottom + 1) / pixelsPerMillimetre_;
    const double share = static_cast<double>(blob.spots.size()) /
                         ((blob.right - blob.left + 1.0) * (blob.top - blob.bottom + 1.0));
    const unsigned reach = static_cast<unsigned>(holeReach * pixelsPerMillimetre_);
    return across >= leastHole && across <= greatestHole && down >= leastHole && down <= greatestHole &&
           across / down > 0.8 && across / down < 1.25 && share > 0.66 && share < 0.86 &&
           (blob.right < reach || blob.left + reach >= width_ || blob.top < reach ||
            blob.bottom + reach >= height_);
}

// The blob and a ring of half-dark pixels around it.
void BlankPage::mask(const Blob& blob, unsigned ring) {
    for (const Spot spot : blob.spots) {
        for (unsigned y = spot.y - std::min(spot.y, ring); y <= std::min(spot.y + ring, height_ - 1); ++y) {
            for (unsigned x = spot.x - std::min(spot.x, ring); x <= std::min(spot.x + ring, width_ - 1);
                 ++x) {
                masked_[at(x, y)] = true;
            }
        }
    }
}

// Each masked stretch of a line goes evenly from the pixel on its left to the one on its right.
void BlankPage::fillMasked() {
    for (unsigned y = 0; y < height_; ++y) {
        BYTE* const pixels = line(y);
        for (unsigned x = 0; x < width_; ++x) {
            if (!masked_[at(x, y)]) {
                continue;
            }
            unsigned end = x;
            while (end < width_ && masked_[at(end, y)]) {
                ++end;
            }
            const double left = x > 0 ? pixels[x - 1] : end < width_ ? pixels[end] : double(paperLevel_);
            const double right = end < width_ ? pixels[end] : left;
            for (unsigned i = x; i < end; ++i) {
                pixels[i] =
                    static_cast<BYTE>(std::lround(left + (right - left) * (i - x + 1) / (end - x + 1)));
            }
            x = end;
        }
    }
}
