#ifndef DORNIMAGE_TOOLS_DORNIMAGE_BLANKMEASURE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_BLANKMEASURE_H

#include "BlankPage.h"

#include <string>
#include <vector>

enum class BlankVerdict { empty, content, unsure };

std::string verdictName(BlankVerdict verdict);

/// What the detector found in a small cell of the page.
struct SmallCell {
    unsigned contrast = 0; // grey levels that a pixel has to stand out by
    double share = 0;      // of the cell's pixels that do, 0 to 1
    double markLength = 0; // millimetres, of the longest mark in it; 0 when too little stands out to look
    unsigned left = 0;     // in pixels of the reduced page; lines from the bottom
    unsigned bottom = 0;
    unsigned width = 0;
    unsigned height = 0;
    int weight = 0; // 0: nothing but grain and dust, 1: perhaps writing, 2: certainly
};

/// Whether there is anything on a page, and the cells that speak most for it, by weight and then by share.
struct BlankMeasure {
    BlankVerdict verdict = BlankVerdict::unsure;
    std::string reason;
    SmallCell ink;       // inside the page's border; the first of weight 2 when there is one
    SmallCell borderInk; // within a few millimetres of the edge
    // One for each lower contrast; the share is of what is no ink as well where there are marks to measure.
    std::vector<SmallCell> faint;
    SmallCell decisive; // the one that the verdict rests on
    double filling = 0; // the library's share of the page, and of its grid of cells, at the ink contrast
    std::vector<double> cells; // row by row from the bottom left
    unsigned columns = 0;
    unsigned rows = 0;
};

/// Judges a page. Throws std::bad_alloc.
///
/// The library's detector measures it several times: over the whole page for the figures, and in small cells
/// that overlap by half, so that a lone digit has nearly all of its pixels in one of them. Marks that stand
/// out strongly decide; the length of the marks in a cell tells a digit from dust. What stands out faintly,
/// such as pencil or the writing of the other side, can make a page unsure only, and so can what lies at the
/// very edge. Limits were chosen by measurement, see docs/analysis.md.
/// @param ignoreFaint take what stands out faintly for part of the paper, without looking.
BlankMeasure measureBlank(const BlankPage& page, bool ignoreFaint = false);

/// What is left of the verdict when a decoder complained: what it could not read may have been the content.
void doubtDamaged(BlankMeasure& measure);

#endif
