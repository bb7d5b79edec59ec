#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CANVAS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CANVAS_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <string>

/// A 24-bit picture to draw on. Lines count from the bottom, and what falls outside is left out.
class Canvas {
public:
    struct Colour {
        BYTE red, green, blue;
    };

    /// White all over. Throws std::bad_alloc.
    Canvas(int width, int height);

    int width() const { return width_; }
    int height() const { return height_; }

    void put(int x, int y, Colour colour);
    /// Moves a pixel towards a colour: 0 leaves it, 1 replaces it.
    void tint(int x, int y, Colour colour, double strength);
    void fill(int left, int bottom, int width, int height, Colour colour);
    /// The outline of a rectangle, `thickness` pixels inwards.
    void frame(int left, int bottom, int width, int height, int thickness, Colour colour);
    /// Digits, points and minus signs of 3 x 5 dots, each `dot` pixels wide; anything else leaves a gap.
    void write(const std::string& text, int left, int bottom, int dot, Colour colour);
    /// How wide `write` writes.
    static int widthOf(const std::string& text, int dot) {
        return (static_cast<int>(text.size()) * 4 - 1) * dot;
    }

    /// Gives the picture to the caller, who unloads it.
    FIBITMAP* release() { return bitmap_.detach(); }

private:
    int width_;
    int height_;
    DornImage::FIBitmapPtr bitmap_;
};

#endif
