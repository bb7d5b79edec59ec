#include "SkewPicture.h"

#include "Canvas.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

namespace {

constexpr unsigned pageSide = 1000; // pixels that the page's longer side takes at most
constexpr int panelWidth = 480;
constexpr int least = 240; // height of the picture
constexpr int margin = 24;
constexpr int lineCount = 16;
constexpr double degree = 3.141592653589793 / 180;

using Colour = Canvas::Colour;
constexpr Colour black = {0, 0, 0};
constexpr Colour bars = {90, 110, 140};
constexpr Colour mark = {220, 20, 20};

void writeNumber(Canvas& canvas, int middle, int top, int number) {
    constexpr int dot = 2;
    const std::string text = std::to_string(number);
    canvas.write(text, middle - Canvas::widthOf(text, dot) / 2, top - 5 * dot, dot, black);
}

void drawPage(Canvas& canvas, const GreyPage& page) {
    for (unsigned y = 0; y < page.height; ++y) {
        const unsigned char* const line = page.line(y);
        for (unsigned x = 0; x < page.width; ++x) {
            // Paler, so that the lines stand out.
            const auto grey = static_cast<BYTE>(96 + line[x] * 5 / 8);
            canvas.put(static_cast<int>(x), static_cast<int>(y), {grey, grey, grey});
        }
    }
}

// One line in each of a number of equal stretches of the page's height.
void drawLines(Canvas& canvas, const GreyPage& page, unsigned threshold, double angle) {
    const double slope = std::tan(angle * degree);
    const auto width = static_cast<int>(page.width);
    const auto height = static_cast<int>(page.height);
    const double middle = page.width / 2.0;
    const auto offset = [&](int x) { return static_cast<int>(std::lround((x - middle) * slope)); };
    std::vector<unsigned> votes(page.height); // by the line's height in the middle of the page
    for (int y = 1; y < height; ++y) {
        const unsigned char* const before = page.line(static_cast<unsigned>(y) - 1);
        const unsigned char* const now = page.line(static_cast<unsigned>(y));
        for (int x = 0; x < width; ++x) {
            const int at = y + offset(x);
            if (before[x] <= threshold && now[x] > threshold && at >= 0 && at < height) {
                ++votes[static_cast<std::size_t>(at)];
            }
        }
    }
    for (int i = 0; i < lineCount; ++i) {
        const auto from = votes.begin() + height * i / lineCount;
        const auto to = votes.begin() + height * (i + 1) / lineCount;
        const auto best = std::max_element(from, to);
        if (best == to || *best == 0) {
            continue;
        }
        for (int x = 0; x < width; ++x) {
            const int y = static_cast<int>(best - votes.begin()) - offset(x);
            if (y < height) { // the canvas may be higher than the page
                canvas.put(x, y, mark);
            }
        }
    }
}

void drawScores(Canvas& canvas, const SkewMeasure& measure, int left, int height) {
    const int width = panelWidth - 2 * margin;
    const int right = left + width;
    const int foot = 2 * margin;
    const double reach = measure.scores.back().angle;
    const auto place = [&](double angle) {
        return left + static_cast<int>(std::lround((angle + reach) / (2 * reach) * (width - 1)));
    };
    double greatest = 0;
    for (const DirectionScore& at : measure.scores) {
        greatest = std::max(greatest, at.score);
    }
    const int barWidth = std::max(1, width / static_cast<int>(measure.scores.size()));
    for (const DirectionScore& at : measure.scores) {
        const auto bar = static_cast<int>(at.score / greatest * (height - foot - margin));
        canvas.fill(place(at.angle) - barWidth / 2, foot, barWidth, bar, bars);
    }
    canvas.fill(left, foot - 1, right - left, 1, black);
    constexpr int step = 5;
    for (int tick = -static_cast<int>(reach) / step * step; tick <= reach; tick += step) {
        canvas.fill(place(tick), foot - 7, 1, 6, black);
        writeNumber(canvas, place(tick), foot - 10, tick);
    }
    if (measure.angle) {
        canvas.fill(place(*measure.angle), foot - 6, 1, height - foot - margin + 12, mark);
    }
}

} // namespace

FIBITMAP* drawSkew(const SkewMeasure& measure) {
    const unsigned factor = std::max(1U, (measure.page.longSide() + pageSide - 1) / pageSide);
    const GreyPage page = reduced(measure.page, factor);
    const int height = std::max(static_cast<int>(page.height), least);
    const auto width = static_cast<int>(page.width);
    Canvas canvas(width + panelWidth, height);
    drawPage(canvas, page);
    if (measure.angle) {
        drawLines(canvas, page, measure.threshold, *measure.angle);
    }
    if (!measure.scores.empty()) {
        drawScores(canvas, measure, width + margin, height);
    }
    return canvas.release();
}
