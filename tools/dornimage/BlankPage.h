#ifndef DORNIMAGE_TOOLS_DORNIMAGE_BLANKPAGE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_BLANKPAGE_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <cstddef>
#include <optional>
#include <vector>

/// A page made ready for the question whether anything is on it: 8-bit grey, dark on light, reduced to about
/// 150 dots per inch by means of whole blocks, which evens grain and single pixels out, and without what
/// scanners add: dark bands along the edges and punched holes are filled from the paper beside them.
class BlankPage {
public:
    /// What the detector leaves out on each side, in pixels. So much paper is put around the page for it.
    static constexpr unsigned margin = 16;

    /// @param grey an 8-bit grey page of at least one pixel; only read. Throws std::bad_alloc.
    explicit BlankPage(FIBITMAP* grey);

    unsigned width() const { return width_; }
    unsigned height() const { return height_; }
    /// Lines count from the bottom.
    const BYTE* line(unsigned y) const { return lineWithMargin(y + margin) + margin; }
    /// The page with its margin, in 24 bits: only at that depth the detector tells its failures.
    FIBITMAP* withMargin() const { return colour_.get(); }
    /// Its line of grey levels, from 0 at the bottom of the margin.
    const BYTE* lineWithMargin(unsigned y) const { return bits_ + std::size_t{y} * pitch_; }

    /// Pixels of the source that one pixel here stands for.
    unsigned factorX() const { return factorX_; }
    unsigned factorY() const { return factorY_; }
    double pixelsPerMillimetreX() const { return perMillimetreX_; }
    double pixelsPerMillimetreY() const { return perMillimetreY_; }
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
    struct Edge;

    void reduce(FIBITMAP* grey);
    void findPaper();
    Edge edgeOf(bool upright, bool far) const;
    std::vector<unsigned> darkDepths(const Edge& edge) const;
    void removeEdges();
    void removeBand(const Edge& edge, const std::vector<unsigned>& depths, unsigned from, unsigned to);
    void removeHoles();
    struct Disc {
        double x, y, radius; // of the middle, in pixels; the radius in millimetres
    };
    std::optional<Disc> holeIn(const Blob& blob) const;
    void fill(const Disc& hole);
    void addMargin();
    std::vector<BYTE> paperAlong(const Edge& edge) const;
    void measureMarks();
    template <class Belongs>
    Blob takeBlob(Spot start, std::vector<bool>& seen, Belongs belongs) const;

    std::size_t at(unsigned x, unsigned y) const { return std::size_t{y} * width_ + x; }
    BYTE* pixels(unsigned y) { return const_cast<BYTE*>(line(y)); }
    bool isDark(unsigned x, unsigned y) const { return line(y)[x] < darkLevel_; }

    DornImage::FIBitmapPtr bitmap_;
    const BYTE* bits_ = nullptr; // of bitmap_: asking FreeImage for each pixel takes most of the time
    std::size_t pitch_ = 0;
    DornImage::FIBitmapPtr colour_;
    unsigned width_ = 0;
    unsigned height_ = 0;
    unsigned factorX_ = 1;
    unsigned factorY_ = 1;
    double perMillimetreX_ = 0;
    double perMillimetreY_ = 0;
    unsigned paperLevel_ = 255;
    unsigned darkLevel_ = 0;
    bool inverted_ = false;
    unsigned holes_ = 0;
    std::size_t edgePixels_ = 0;
    std::vector<float> lengths_; // of the mark that a pixel belongs to, in millimetres
};

#endif
