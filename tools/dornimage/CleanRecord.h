#ifndef DORNIMAGE_TOOLS_DORNIMAGE_CLEANRECORD_H
#define DORNIMAGE_TOOLS_DORNIMAGE_CLEANRECORD_H

#include "ImageProcessing/DornImage/DornImage.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What becomes of a page when a stack of scans is cleaned.
enum class PageFate {
    kept,   // goes to the output
    unsure, // goes to the output as well: whether it is empty cannot be told
    empty,  // set aside
    failed, // cannot be read or written; the others go on
};

/// The steps that a page goes through, in their order.
enum class CleanStep { load, upright, square, colour, blank, skew, turn, scale, save };

/// What was found out about one page, what was decided, and what was done: one entry of the plan, of the JSON
/// report and of the report for people. Sizes are in pixels, resolutions in dots per inch, angles in degrees
/// and above 0 where text lines fall to the right as seen on the screen.
struct PageRecord {
    std::string file; // as the user named it, or as a folder or pattern gave it
    int page = 1;     // counted from 1
    int pageCount = 1;
    std::string format; // FreeImage's name of it
    unsigned width = 0; // as stored
    unsigned height = 0;
    unsigned depth = 0;
    double dpiX = 0;
    double dpiY = 0;

    PageFate fate = PageFate::kept;
    std::string reason;                // of the verdict, or the cause of the failure
    int orientation = 1;               // EXIF value that was undone
    double filling = 0;                // share of the page that stands out, 0 to 1
    std::optional<double> skew;        // on paper; none where no angle can be trusted
    std::string skewReason;            // why there is none
    double confidence = 0;             // of the angle, 0 to 1
    double turnedBy = 0;               // what was undone of it; 0 where the page was left as it lay
    std::vector<std::string> messages; // what codecs and steps said

    std::string output; // where the page went; empty when it was not written
    int outputPage = 0; // its number there when the output holds several, else 0
    unsigned outputWidth = 0;
    unsigned outputHeight = 0;
    unsigned outputDepth = 0;
    double outputDpi = 0;

    std::vector<std::pair<CleanStep, double>> seconds; // wall time of each step that ran

    // Small copies for the report for people, 8-bit grey or 24-bit; null where there is none.
    DornImage::Reference<DornImage::Image> before;
    DornImage::Reference<DornImage::Image> after;
};

#endif
