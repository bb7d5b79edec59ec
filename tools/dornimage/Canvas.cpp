#include "Canvas.h"

#include <array>
#include <cmath>
#include <new>

namespace {

// Rows of three dots from the top, with the left dot as the highest bit: 0 to 9, minus, point.
constexpr std::array<std::array<unsigned, 5>, 12> glyphs = {{{7, 5, 5, 5, 7},
                                                             {2, 6, 2, 2, 7},
                                                             {7, 1, 7, 4, 7},
                                                             {7, 1, 7, 1, 7},
                                                             {5, 5, 7, 1, 1},
                                                             {7, 4, 7, 1, 7},
                                                             {7, 4, 7, 5, 7},
                                                             {7, 1, 1, 1, 1},
                                                             {7, 5, 7, 5, 7},
                                                             {7, 5, 7, 1, 7},
                                                             {0, 0, 7, 0, 0},
                                                             {0, 0, 0, 0, 2}}};

} // namespace

Canvas::Canvas(int width, int height)
    : width_(width), height_(height), bitmap_(FreeImage_Allocate(width, height, 24)) {
    if (!bitmap_.get()) {
        throw std::bad_alloc();
    }
    fill(0, 0, width, height, {255, 255, 255});
}

void Canvas::put(int x, int y, Colour colour) {
    if (x >= 0 && x < width_ && y >= 0 && y < height_) {
        BYTE* const pixel = FreeImage_GetScanLine(bitmap_.get(), y) + 3 * x;
        pixel[FI_RGBA_RED] = colour.red;
        pixel[FI_RGBA_GREEN] = colour.green;
        pixel[FI_RGBA_BLUE] = colour.blue;
    }
}

void Canvas::tint(int x, int y, Colour colour, double strength) {
    if (x >= 0 && x < width_ && y >= 0 && y < height_) {
        BYTE* const pixel = FreeImage_GetScanLine(bitmap_.get(), y) + 3 * x;
        const auto towards = [strength](BYTE& level, BYTE aim) {
            level = static_cast<BYTE>(std::lround(level + (aim - level) * strength));
        };
        towards(pixel[FI_RGBA_RED], colour.red);
        towards(pixel[FI_RGBA_GREEN], colour.green);
        towards(pixel[FI_RGBA_BLUE], colour.blue);
    }
}

void Canvas::fill(int left, int bottom, int width, int height, Colour colour) {
    for (int y = bottom; y < bottom + height; ++y) {
        for (int x = left; x < left + width; ++x) {
            put(x, y, colour);
        }
    }
}

void Canvas::frame(int left, int bottom, int width, int height, int thickness, Colour colour) {
    fill(left, bottom, width, thickness, colour);
    fill(left, bottom + height - thickness, width, thickness, colour);
    fill(left, bottom, thickness, height, colour);
    fill(left + width - thickness, bottom, thickness, height, colour);
}

void Canvas::write(const std::string& text, int left, int bottom, int dot, Colour colour) {
    static const std::string known = "0123456789-.";
    for (const char character : text) {
        const std::size_t glyph = known.find(character);
        for (int at = 0; glyph != std::string::npos && at < 15; ++at) {
            const int row = at / 3;
            if (glyphs[glyph][static_cast<std::size_t>(row)] >> (2 - at % 3) & 1U) {
                fill(left + at % 3 * dot, bottom + (4 - row) * dot, dot, dot, colour);
            }
        }
        left += 4 * dot;
    }
}
