#include "SkewPicture.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <new>
#include <string>

namespace {

constexpr unsigned pageSide = 1000; // pixels that the page's longer side takes at most
constexpr int panelWidth = 480;
constexpr int least = 240; // height of the picture
constexpr int margin = 24;
constexpr int lineCount = 16;
constexpr double degree = 3.141592653589793 / 180;

struct Colour {
    BYTE red, green, blue;
};
constexpr Colour white = {255, 255, 255};
constexpr Colour black = {0, 0, 0};
constexpr Colour bars = {90, 110, 140};
constexpr Colour mark = {220, 20, 20};

// A picture to draw on; lines count from the bottom, and what falls outside is left out.
class Canvas {
public:
    Canvas(int width, int height)
        : width_(width), height_(height), bitmap_(FreeImage_Allocate(width, height, 24)) {
        if (!bitmap_.get()) {
            throw std::bad_alloc();
        }
        fill(0, 0, width, height, white);
    }

    void put(int x, int y, Colour colour) {
        if (x >= 0 && x < width_ && y >= 0 && y < height_) {
            BYTE* const pixel = FreeImage_GetScanLine(bitmap_.get(), y) + 3 * x;
            pixel[FI_RGBA_RED] = colour.red;
            pixel[FI_RGBA_GREEN] = colour.green;
            pixel[FI_RGBA_BLUE] = colour.blue;
        }
    }

    void fill(int left, int bottom, int width, int height, Colour colour) {
        for (int y = bottom; y < bottom + height; ++y) {
            for (int x = left; x < left + width; ++x) {
                put(x, y, colour);
            }
        }
    }

    FIBITMAP* release() { return bitmap_.detach(); }

private:
    int width_;
    int height_;
    DornImage::FIBitmapPtr bitmap_;
};

// Digits and the minus sign, 3 x 5 dots each, rows from the top with the left dot as the highest bit.
constexpr std::array<std::array<unsigned, 5>, 11> glyphs = {{{7, 5, 5, 5, 7},
                                                             {2, 6, 2, 2, 7},
                                                             {7, 1, 7, 4, 7},
                                                             {7, 1, 7, 1, 7},
                                                             {5, 5, 7, 1, 1},
                                                             {7, 4, 7, 1, 7},
                                                             {7, 4, 7, 5, 7},
                                                             {7, 1, 1, 1, 1},
                                                             {7, 5, 7, 5, 7},
                                                             {7, 5, 7, 1, 7},
                                                             {0, 0, 7, 0, 0}}};

void writeNumber(Canvas& canvas, int middle, int top, int number) {
    constexpr int dot = 2;
    const std::string text = std::to_string(number);
    int left = middle - static_cast<int>(text.size()) * 4 * dot / 2;
    for (const char character : text) {
        const auto& glyph = glyphs[character == '-' ? 10 : static_cast<std::size_t>(character - '0')];
        for (int row = 0; row < 5; ++row) {
            for (int column = 0; column < 3; ++column) {
                if (glyph[static_cast<std::size_t>(row)] >> (2 - column) & 1U) {
                    canvas.fill(left + column * dot, top - (row + 1) * dot, dot, dot, black);
                }
            }
        }
        left += 4 * dot;
    }
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
