#include "BlankMeasure.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <sstream>
#include <utility>

namespace {

constexpr unsigned cellSide = 50;   // 8.5 mm at 150 dots per inch
constexpr unsigned cellMargin = 16; // that the detector leaves out around what it measures
constexpr unsigned step = cellSide / 2;
constexpr unsigned windowSide = cellSide + 2 * cellMargin;
constexpr unsigned inkContrast = 60;
constexpr double cleanInk = 0.004;    // 10 pixels of a cell: less than any digit
constexpr double dustInk = 0.02;      // as much may be there in grains
constexpr double contentInk = 0.012;  // the thinnest digit of usual size
constexpr double grain = 1.3;         // millimetres: longer marks are no dust
constexpr double letter = 1.5;        // millimetres: height of a small digit
constexpr double pencilStroke = 0.95; // millimetres
constexpr double border = 5;          // millimetres

// What paper, folds, ruling and the other side's writing reach; pencil passes it.
struct FaintLimit {
    unsigned contrast;
    double share;     // of a small cell, by whatever marks
    double markShare; // by marks among which one is as long as a stroke
};
constexpr FaintLimit faintLimits[] = {{20, 0.08, 0.08}, {35, 0.04, 0.007}};

DornImage::EmptyPage3Params detect(FIBITMAP* bitmap, unsigned contrast) {
    DornImage::EmptyPage3Params params{static_cast<std::uint8_t>(contrast), 0, 0, 0, {}};
    DornImage::detectEmptyPage(bitmap, params);
    return params;
}

// Where windows of `window` pixels begin along a side; the last one ends with the side.
std::vector<unsigned> windowStarts(unsigned side, unsigned window) {
    std::vector<unsigned> starts;
    for (unsigned at = 0; at + window < side; at += step) {
        starts.push_back(at);
    }
    starts.push_back(side - window);
    return starts;
}

class Look {
public:
    explicit Look(const BlankPage& page)
        : page_(page), windowWidth_(std::min(windowSide, page.width())),
          windowHeight_(std::min(windowSide, page.height())) {}

    // Calls `use` for each small cell in which anything stands out, until it answers false.
    template <class Use>
    void cells(unsigned contrast, Use use) const {
        for (const unsigned y : windowStarts(page_.height(), windowHeight_)) {
            for (const unsigned x : windowStarts(page_.width(), windowWidth_)) {
                SmallCell cell{contrast, 0, 0, x + cellMargin, y + cellMargin, 0};
                cell.share = shareIn(cell, contrast);
                if (cell.share > 0 && !use(cell)) {
                    return;
                }
            }
        }
    }

    // What stands out by `contrast` in the cell.
    double shareIn(const SmallCell& cell, unsigned contrast) const {
        const unsigned x = cell.left - cellMargin;
        const unsigned y = cell.bottom - cellMargin;
        const unsigned top = page_.height() - y; // FreeImage counts the lines of a view from the top
        const DornImage::FIBitmapPtr view(
            FreeImage_CreateView(page_.bitmap(), x, top - windowHeight_, x + windowWidth_, top));
        if (!view.get()) {
            throw std::bad_alloc();
        }
        return detect(view.get(), contrast).filling;
    }

    bool isAtBorder(const SmallCell& cell) const {
        const double depth = border * page_.pixelsPerMillimetre();
        const unsigned right = page_.width() - cell.left - cellWidth();
        const unsigned top = page_.height() - cell.bottom - cellHeight();
        return std::min(std::min(cell.left, right), std::min(cell.bottom, top)) < depth;
    }

    // Where more than `share` stands out.
    void measureMark(SmallCell& cell, double share) const {
        if (cell.share > share) {
            cell.markLength = page_.longestMark(cell.left, cell.bottom, cellWidth(), cellHeight());
        }
    }

private:
    unsigned cellWidth() const { return windowWidth_ - 2 * cellMargin; }
    unsigned cellHeight() const { return windowHeight_ - 2 * cellMargin; }

    const BlankPage& page_;
    unsigned windowWidth_;
    unsigned windowHeight_;
};

int weightOfInk(const SmallCell& cell) {
    if (cell.share <= cleanInk || (cell.share <= dustInk && cell.markLength < grain)) {
        return 0;
    }
    return cell.share >= contentInk && cell.markLength >= letter ? 2 : 1;
}

// Pencil, maybe: much of it, or one stroke that is too long for a grain.
int weightOfFaint(const SmallCell& cell, const FaintLimit& limit) {
    return cell.share > limit.share || (cell.share > limit.markShare && cell.markLength >= pencilStroke);
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
void lookForInk(const Look& look, BlankMeasure& result) {
    look.cells(inkContrast, [&](SmallCell& cell) {
        look.measureMark(cell, cleanInk);
        cell.weight = weightOfInk(cell);
        keepHeavier(look.isAtBorder(cell) ? result.borderInk : result.ink, cell);
        return result.ink.weight < 2;
    });
}

void lookForFaint(const Look& look, BlankMeasure& result) {
    for (const FaintLimit limit : faintLimits) {
        result.faint.push_back({limit.contrast});
        look.cells(limit.contrast, [&](SmallCell& cell) {
            if (!look.isAtBorder(cell)) {
                look.measureMark(cell, limit.markShare);
                if (cell.markLength > 0) {
                    cell.share -= look.shareIn(cell, inkContrast);
                }
                cell.weight = weightOfFaint(cell, limit);
                keepHeavier(result.faint.back(), cell);
            }
            return true;
        });
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
    BlankMeasure result;
    if (page.width() < 2 * cellMargin + 2 || page.height() < 2 * cellMargin + 2) {
        result.reason = "the picture is smaller than 34 pixels";
        return result;
    }
    const DornImage::EmptyPage3Params whole = detect(page.bitmap(), inkContrast);
    result.filling = whole.filling;
    result.cells.assign(whole.cellFillings.begin(), whole.cellFillings.end());
    result.columns = std::clamp((page.width() - 2 * cellMargin) / 100, 1U, 5U);
    result.rows = static_cast<unsigned>(result.cells.size()) / result.columns;
    result.cellSide = cellSide;
    const Look look(page);
    lookForInk(look, result);
    if (result.ink.weight < 2 && !ignoreFaint) {
        lookForFaint(look, result);
    }
    judge(result);
    return result;
}
