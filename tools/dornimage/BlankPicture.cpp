#include "BlankPicture.h"

#include "Canvas.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace {

using Colour = Canvas::Colour;

constexpr unsigned pictureSide = 1000; // pixels of the longer side at most
constexpr Colour gridColour = {40, 90, 170};
constexpr Colour textColour = {20, 50, 120};

Colour colourOf(BlankVerdict verdict) {
    switch (verdict) {
    case BlankVerdict::empty:
        return {30, 150, 60};
    case BlankVerdict::content:
        return {200, 20, 20};
    case BlankVerdict::unsure:
        break;
    }
    return {230, 150, 0};
}

// As much of three digits as the share needs.
std::string inPercent(double share) {
    std::ostringstream text;
    const double percent = 100 * share;
    text << std::fixed << std::setprecision(percent < 1 ? 3 : percent < 10 ? 2 : 1) << percent;
    return text.str();
}

class Drawing {
public:
    Drawing(const BlankPage& page, const BlankMeasure& measure)
        : page_(page), measure_(measure),
          factor_(std::max(1U, (std::max(page.width(), page.height()) + pictureSide - 1) / pictureSide)),
          canvas_(scaled(static_cast<int>(page.width())), scaled(static_cast<int>(page.height()))) {}

    FIBITMAP* draw() {
        drawPage();
        if (!measure_.cells.empty()) {
            drawGrid();
        }
        if (measure_.decisive.share > 0) {
            drawDecision();
        }
        return canvas_.release();
    }

private:
    int scaled(int length) const { return std::max(1, length / static_cast<int>(factor_)); }

    // Of each square the darkest pixel, so that thin marks stay visible.
    void drawPage() {
        for (int y = 0; y < canvas_.height(); ++y) {
            for (int x = 0; x < canvas_.width(); ++x) {
                BYTE darkest = 255;
                for (unsigned i = 0; i < factor_ * factor_; ++i) {
                    const unsigned row = static_cast<unsigned>(y) * factor_ + i / factor_;
                    const unsigned column = static_cast<unsigned>(x) * factor_ + i % factor_;
                    if (row < page_.height() && column < page_.width()) {
                        darkest = std::min(darkest, page_.line(row)[column]);
                    }
                }
                const auto grey = static_cast<BYTE>(64 + darkest * 3 / 4);
                canvas_.put(x, y, {grey, grey, grey});
            }
        }
    }

    void drawGrid() {
        const auto width = static_cast<int>(page_.width() / measure_.columns);
        const auto height = static_cast<int>(page_.height() / measure_.rows);
        for (std::size_t i = 0; i < measure_.cells.size(); ++i) {
            const int column = static_cast<int>(i % measure_.columns);
            const int row = static_cast<int>(i / measure_.columns);
            const int left = scaled(column * width);
            const int bottom = scaled(row * height);
            tint(left, bottom, scaled(width), scaled(height), measure_.cells[i]);
            canvas_.frame(left, bottom, scaled(width), scaled(height), 1, gridColour);
            const std::string text = inPercent(measure_.cells[i]);
            const int dot = std::clamp(scaled(width) / (Canvas::widthOf(text, 1) + 8), 1, 3);
            canvas_.write(text, left + 3 * dot, bottom + 3 * dot, dot, textColour);
        }
    }

    // A share of 0.1 % just shows, one of 10 % and more is fully red.
    void tint(int left, int bottom, int width, int height, double share) {
        const double strength = std::clamp(std::log10(share * 1e4 + 1e-9) / 3, 0.0, 1.0) * 0.35;
        for (int y = bottom; y < bottom + height; ++y) {
            for (int x = left; x < left + width; ++x) {
                canvas_.tint(x, y, {255, 60, 60}, strength);
            }
        }
    }

    void drawDecision() {
        const SmallCell& cell = measure_.decisive;
        const int width = scaled(static_cast<int>(cell.width));
        const int height = scaled(static_cast<int>(cell.height));
        const int reach = std::max(4, width / 4);
        canvas_.frame(scaled(static_cast<int>(cell.left)) - reach,
                      scaled(static_cast<int>(cell.bottom)) - reach, width + 2 * reach, height + 2 * reach, 3,
                      colourOf(measure_.verdict));
    }

    const BlankPage& page_;
    const BlankMeasure& measure_;
    unsigned factor_;
    Canvas canvas_;
};

} // namespace

FIBITMAP* drawBlank(const BlankPage& page, const BlankMeasure& measure) {
    return Drawing(page, measure).draw();
}
