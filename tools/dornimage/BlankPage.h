#ifndef DORNIMAGE_TOOLS_DORNIMAGE_BLANKPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_BLANKPAGE_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// A page made ready for the question whether anything is on it: 8-bit grey, dark on light, reduced to about
/// 150 dots per inch by means of whole squares, which evens grain and single pixels out, and without what
/// scanners add: dark edges and punched holes are filled from the paper beside them.
class BlankPage {
public:
    /// @param grey an 8-bit grey page of at least one pixel; only read. Throws std::bad_alloc.
    explicit BlankPage(FIBITMAP* grey);

    FIBITMAP* bitmap() const { return bitmap_.get(); }
    unsigned width() const { return width_; }
    unsigned height() const { return height_; }
    /// Pixels of the source that one pixel here stands for.
    unsigned factorX() const { return factorX_; }
    unsigned factorY() const { return factorY_; }
    double pixelsPerMillimetre() const { return pixelsPerMillimetre_; }
    unsigned paperLevel() const { return paperLevel_; }
    bool wasInverted() const { return inverted_; }
    unsigned holes() const { return holes_; }
    /// The longer side, in millimetres, of the longest connected dark mark in a rectangle; marks that only
    /// reach into it count with their whole extent.
    double longestMark(unsigned left, unsigned bottom, unsigned width, unsigned height) const;
    /// Share of the page that was taken for dark scan edges.
    double edgeShare() const;

private:
    struct Spot {
        unsigned x, y;
    };
    struct Blob {
        std::vector<Spot> spots;
        unsigned left, right, bottom, top;
    };

    void reduce(FIBITMAP* grey);
    void findPaper();
    void markEdges();
    void markHoles();
    bool isHole(const Blob& blob) const;
    template <class Belongs>
    Blob takeBlob(Spot start, std::vector<bool>& seen, Belongs belongs) const;
    void mask(const Blob& blob, unsigned ring);
    void fillMasked();
    void measureMarks();

    std::size_t at(unsigned x, unsigned y) const { return std::size_t{y} * width_ + x; }
    BYTE* line(unsigned y) const { return FreeImage_GetScanLine(bitmap_.get(), static_cast<int>(y)); }
    bool isDark(unsigned x, unsigned y) const { return line(y)[x] < darkLevel_; }
    unsigned toEdge(unsigned x, unsigned y) const;

    DornImage::FIBitmapPtr bitmap_;
    unsigned width_ = 0;
    unsigned height_ = 0;
    unsigned factorX_ = 1;
    unsigned factorY_ = 1;
    double pixelsPerMillimetre_ = 0;
    unsigned paperLevel_ = 255;
    unsigned darkLevel_ = 0;
    bool inverted_ = false;
    unsigned holes_ = 0;
    std::size_t edgePixels_ = 0;
    std::vector<bool> masked_;
    std::vector<std::uint16_t> extents_; // of the mark that a pixel belongs to, in pixels
};

#endif
