#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SKEWMEASURE_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SKEWMEASURE_H

#include "GreyPage.h"

#include <optional>
#include <string>
#include <vector>

/// How strongly the page's lines speak for one direction.
struct DirectionScore {
    double angle; // degrees
    double score; // sum of the squared votes of all lines in that direction, per voting pixel
};

/// What was found out about the skew of a page. Angles are degrees in the grid of pixels, positive when text
/// lines fall to the right as seen on the screen.
struct SkewMeasure {
    std::optional<double> angle;
    std::string reason;     // why there is no angle
    double confidence = 0;  // 0 (no angle) to 1
    GreyPage page;          // the copy that was measured
    unsigned threshold = 0; // grey level that parted dark from light
    double clearness = 0;   // best score by the best of other directions; 1 when none stands out
    int partsCompared = 0;  // quarters of the page with enough in them
    double partSpread = 0;  // median distance of their angles from the whole, degrees
    double methodGap = 0;   // between the detector's angle and the one of the scores, degrees
    std::vector<DirectionScore> scores;
};

/// Measures a page of 8-bit grey, within -reach and reach degrees.
///
/// The page is reduced to about 1600 to 3200 pixels along its longer side. The sum of squared votes over the
/// whole band finds the direction roughly; then the page is sheared level, and SkewDetector measures the rest
/// in a narrow band on the whole and on each quarter, beside the sums of squares of that band. The angle is
/// that of the sums, whose results scatter least; where the detector or the quarters contradict there is
/// none.
SkewMeasure measureSkew(FIBITMAP* bitmap, double reach);

#endif
