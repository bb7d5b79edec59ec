#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_SKEWDETECTOR_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_ANALYSIS_SKEWDETECTOR_H

#include "base/Export.h"

#include <FreeImage.h>

#include <memory>

/// Measures by how many degrees the text lines of a page lie off the horizontal.
///
/// A Hough transform over a narrow band of directions: every pixel where the picture steps from dark to
/// light, going from one scan line to the next, votes in each direction for the straight line through it. The
/// angles of the 20 strongest local peaks of the votes are averaged. A step that goes the other way does not
/// vote.
///
/// With scan lines counted from the bottom, as in a FIBITMAP, the voters are the upper edges of dark strokes,
/// and a positive result means text lines that fall to the right as seen on the screen (turned clockwise).
///
/// One detector serves any number of pages, and several threads at once as long as nobody calls setThreshold
/// on it or assigns to it.
class DORNIMAGE_API SkewDetector {
public:
    /// @param maxAngle half the width of the band, in degrees. Directions that are not finite get no votes.
    /// @param angleCount how many directions are tried: from -maxAngle in even steps up to one step short of
    ///        maxAngle. With 0 every page measures 0.0.
    SkewDetector(float maxAngle, unsigned angleCount);
    SkewDetector(const SkewDetector&) = delete;
    /// Both detectors then use the same tables of directions, which go with the last of them.
    SkewDetector& operator=(const SkewDetector&);
    ~SkewDetector();

    /// The grey level that parts dark from light, 128 in a new detector; a pixel equal to it is dark. The
    /// fraction is cut off and the low 8 bits are used: 300 works as 44.
    void setThreshold(double level);

    /// Measures a page of 8-bit grey pixels.
    /// @param stride bytes from one scan line to the next.
    /// @return degrees; 0.0 also when no line was found. Throws std::bad_alloc when there is no memory for
    /// the
    ///         votes, (angleCount + 2) * (2 * (width + height) + 2) counters of 4 bytes, or when these are
    ///         more than 32 bits can count.
    double detectSkew(unsigned char* image, int stride, unsigned width, unsigned height);

private:
    void accumulate(unsigned char* image, unsigned width, unsigned height, int stride, unsigned rhoCount,
                    unsigned* accumulator);
    unsigned findLocalMaximas(unsigned* accumulator, unsigned rhoCount, unsigned* peaks);

    float maxAngle; // degrees
    unsigned angleCount;
    // Of the normals of the lines: 90 degrees is the normal of a level line.
    std::shared_ptr<float[]> sinTable;
    std::shared_ptr<float[]> cosTable;
    float startAngle; // radians
    float angleStep;  // radians
    double threshold;
};

namespace DornImage {

/// Smooths a page lightly (Gaussian, 3 x 3, sigma 0.35) and measures the smoothed copy with `detector`.
/// @param bitmap 8-bit grey, from dark to light. The depth is not looked at: a scan line is taken as one byte
///        a pixel.
/// @return degrees, positive when text lines fall to the right; 0.0 on every failure but of memory.
DORNIMAGE_API double detectSkew(FIBITMAP* bitmap, SkewDetector& detector);

} // namespace DornImage

#endif
