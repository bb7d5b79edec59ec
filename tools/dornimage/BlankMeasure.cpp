#include "BlankMeasure.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <sstream>
#include <utility>

namespace {

constexpr double cellSide = 8.5; // millimetres
constexpr unsigned inkContrast = 60;
constexpr double cleanInk = 0.004;    // less than any digit
constexpr double dustInk = 0.02;      // as much may be there in grains
constexpr double contentInk = 0.012;  // the thinnest digit of usual size
constexpr double grain = 1.3;         // millimetres: longer marks are no dust
constexpr double letter = 1.5;        // millimetres: height of a small digit
constexpr double pencilStroke = 0.95; // millimetres
constexpr double border = 4;          // millimetres

// What paper, folds, ruling and the other side's writing reach; pencil passes it.
struct FaintLimit {
    unsigned contrast;
    double share;             // of a small cell, by whatever marks
    double markShare;         // by marks among which one is as long as a stroke
    double greatestMarkShare; // to which that may rise on paper that is ruled or creased all over
};
constexpr FaintLimit faintLimits[] = {{20, 0.08, 0.08, 0.08}, {35, 0.04, 0.007, 0.015}};
// At the border, where paper is worn and light uneven, it takes as much as a pale digit.
constexpr FaintLimit faintAtBorder = {35, 0.04, 0.015, 0.015};
constexpr double faintLetter = 1.6; // millimetres

// What stands out in a part of the page for the detector. Throws std::bad_alloc when the detector fails, for
// which memory is the only cause left.
DornImage::EmptyPage3Params detect(FIBITMAP* bitmap, unsigned contrast) {
    constexpr double untouched = -1;
    DornImage::EmptyPage3Params params{static_cast<std::uint8_t>(contrast), 1, 0, untouched, {}};
    DornImage::detectEmptyPage(bitmap, params);
    if (params.filling == untouched) {
        throw std::bad_alloc();
    }
    return params;
}

// Where cells begin along a side: they overlap by half, and the last one ends with the side.
std::vector<unsigned> cellStarts(unsigned side, unsigned cell) {
    std::vector<unsigned> starts;
    for (unsigned at = 0; at + cell < side; at += (cell + 1) / 2) {
        starts.push_back(at);
    }
    starts.push_back(side - cell);
    return starts;
}

class Look {
public:
    explicit Look(const BlankPage& page)
        : page_(page), width_(cellAlong(page.width(), page.pixelsPerMillimetreX())),
          height_(cellAlong(page.height(), page.pixelsPerMillimetreY())) {}

    // Calls `use` for each small cell in which anything stands out, until it answers false.
    template <class Use>
    void cells(unsigned contrast, Use use) {
        for (const unsigned y : cellStarts(page_.height(), height_)) {
            findRanges(y);
            for (const unsigned x : cellStarts(page_.width(), width_)) {
                SmallCell cell{contrast, 0, 0, x, y, width_, height_, 0};
                cell.share = rangeOf(cell) > contrast ? shareIn(cell, contrast) : 0;
                if (cell.share > 0 && !use(cell)) {
                    return;
                }
            }
        }
    }

    std::size_t cellCount() const {
        return cellStarts(page_.height(), height_).size() * cellStarts(page_.width(), width_).size();
    }

    // What stands out by `contrast` in the cell.
    double shareIn(const SmallCell& cell, unsigned contrast) const {
        // FreeImage counts the lines of a view from the top.
        const unsigned top = page_.height() - cell.bottom - cell.height;
        const DornImage::FIBitmapPtr view(FreeImage_CreateView(
            page_.withMargin(), cell.left, top, cell.left + cell.width + around, top + cell.height + around));
        if (!view.get()) {
            throw std::bad_alloc();
        }
        return detect(view.get(), contrast).filling;
    }

    // A picture of a few cells, no page of paper, is all inside.
    bool isAtBorder(const SmallCell& cell) const {
        if (page_.width() < 4 * width_ || page_.height() < 4 * height_) {
            return false;
        }
        const unsigned right = page_.width() - cell.left - cell.width;
        const unsigned top = page_.height() - cell.bottom - cell.height;
        return std::min(cell.left, right) < border * page_.pixelsPerMillimetreX() ||
               std::min(cell.bottom, top) < border * page_.pixelsPerMillimetreY();
    }

    // Where more than `share` stands out.
    void measureMark(SmallCell& cell, double share) const {
        if (cell.share > share) {
            cell.markLength = page_.longestMark(cell.left, cell.bottom, cell.width, cell.height);
        }
    }

private:
    // Below 16 pixels a cell is hardly more than a few strokes wide; above 99 the detector would divide it.
    static unsigned cellAlong(unsigned side, double perMillimetre) {
        return std::min(side,
                        static_cast<unsigned>(std::clamp(std::lround(cellSide * perMillimetre), 16L, 99L)));
    }

    // The range of each pixel column of a row of cells and what is around them.
    void findRanges(unsigned bottom) {
        lowest_.assign(page_.width() + around, 255);
        highest_.assign(page_.width() + around, 0);
        for (unsigned y = bottom; y < bottom + height_ + around; ++y) {
            const BYTE* const line = page_.lineWithMargin(y);
            for (std::size_t x = 0; x < lowest_.size(); ++x) {
                lowest_[x] = std::min(lowest_[x], line[x]);
                highest_[x] = std::max(highest_[x], line[x]);
            }
        }
    }

    // No pixel stands out by more than the range of grey levels.
    unsigned rangeOf(const SmallCell& cell) const {
        const std::size_t end = cell.left + cell.width + around;
        const BYTE low = *std::min_element(&lowest_[cell.left], lowest_.data() + end);
        const BYTE high = *std::max_element(&highest_[cell.left], highest_.data() + end);
        return high - low;
    }

    static constexpr unsigned around = 2 * BlankPage::margin;
    const BlankPage& page_;
    unsigned width_;
    unsigned height_;
    std::vector<BYTE> lowest_;
    std::vector<BYTE> highest_;
};

int weightOfInk(const SmallCell& cell) {
    if (cell.share <= cleanInk || (cell.share <= dustInk && cell.markLength < grain)) {
        return 0;
    }
    return cell.share >= contentInk && cell.markLength >= letter ? 2 : 1;
}

// Pencil, maybe: much of it, or one stroke that is too long for a grain.
int weightOfFaint(const SmallCell& cell, const FaintLimit& limit, double stroke) {
    return cell.share > limit.share || (cell.share > limit.markShare && cell.markLength >= stroke);
}

void keepHeavier(SmallCell& kept, const SmallCell& cell) {
    if (std::pair(cell.weight, cell.share) > std::pair(kept.weight, kept.share)) {
        kept = cell;
    }
}

std::string percent(double share) {
    std::ostringstream text;
    text << std::round(share * 10000) / 100 << " %";
    return text.str();
}

// One cell inside that is certain is enough.
void lookForInk(Look& look, BlankMeasure& result) {
    look.cells(inkContrast, [&](SmallCell& cell) {
        look.measureMark(cell, cleanInk);
        cell.weight = weightOfInk(cell);
        keepHeavier(look.isAtBorder(cell) ? result.borderInk : result.ink, cell);
        return result.ink.weight < 2;
    });
}

// The paper's own share of such marks, ruling and creases, when it has them all over.
double shareOfPaper(const std::vector<SmallCell>& found, std::size_t cells) {
    std::vector<double> shares(cells);
    std::transform(found.begin(), found.end(), shares.begin(),
                   [](const SmallCell& cell) { return cell.share; });
    const auto nearlyAll = shares.begin() + static_cast<std::ptrdiff_t>(cells * 9 / 10);
    std::nth_element(shares.begin(), nearlyAll, shares.end());
    return *nearlyAll;
}

void lookForFaint(Look& look, BlankMeasure& result) {
    for (FaintLimit limit : faintLimits) {
        std::vector<SmallCell> found;
        look.cells(limit.contrast, [&](SmallCell& cell) {
            look.measureMark(cell, limit.markShare);
            if (cell.markLength > 0) {
                cell.share -= look.shareIn(cell, inkContrast);
            }
            found.push_back(cell);
            return true;
        });
        limit.markShare =
            std::clamp(3 * shareOfPaper(found, look.cellCount()), limit.markShare, limit.greatestMarkShare);
        result.faint.push_back({limit.contrast});
        for (SmallCell& cell : found) {
            if (!look.isAtBorder(cell)) {
                cell.weight = weightOfFaint(cell, limit, pencilStroke);
                keepHeavier(result.faint.back(), cell);
            } else if (limit.contrast == faintAtBorder.contrast) {
                cell.weight = weightOfFaint(cell, faintAtBorder, faintLetter);
                keepHeavier(result.borderInk, cell);
            }
        }
    }
}

void judge(BlankMeasure& result) {
    result.decisive = result.ink;
    if (result.ink.weight > 0) {
        const bool certain = result.ink.weight == 2;
        result.verdict = certain ? BlankVerdict::content : BlankVerdict::unsure;
        result.reason = percent(result.ink.share) + " of a small cell stand out" +
                        (certain ? "" : ", which may be a small mark or dust");
        return;
    }
    if (result.borderInk.weight > 0) {
        result.decisive = result.borderInk;
        result.reason = "marks at the edge of the page only";
        return;
    }
    for (const SmallCell& faint : result.faint) {
        if (faint.weight > 0) {
            result.decisive = faint;
            result.reason = "faint marks, such as pencil or writing that shows through";
            return;
        }
    }
    result.verdict = BlankVerdict::empty;
    result.reason = "nothing stands out but grain and dust";
}

} // namespace

std::string verdictName(BlankVerdict verdict) {
    switch (verdict) {
    case BlankVerdict::empty:
        return "empty";
    case BlankVerdict::content:
        return "content";
    case BlankVerdict::unsure:
        break;
    }
    return "unsure";
}

BlankMeasure measureBlank(const BlankPage& page, bool ignoreFaint) {
    constexpr unsigned leastSide = 34;
    BlankMeasure result;
    if (page.width() < leastSide || page.height() < leastSide) {
        result.reason = "the picture is smaller than 34 pixels";
        return result;
    }
    const DornImage::EmptyPage3Params whole = detect(page.withMargin(), inkContrast);
    result.filling = whole.filling;
    result.cells.assign(whole.cellFillings.begin(), whole.cellFillings.end());
    result.columns = std::clamp(page.width() / 100, 1U, 5U);
    result.rows = static_cast<unsigned>(result.cells.size()) / result.columns;
    Look look(page);
    lookForInk(look, result);
    if (result.ink.weight < 2 && !ignoreFaint) {
        lookForFaint(look, result);
    }
    judge(result);
    return result;
}

void doubtDamaged(BlankMeasure& measure) {
    if (measure.verdict == BlankVerdict::empty) {
        measure.verdict = BlankVerdict::unsure;
        measure.reason = "nothing stands out in what could be decoded of a damaged page";
    }
}
