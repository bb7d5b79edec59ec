#ifndef DORNIMAGE_PRIMITIVES_WARP_WARPGEOMETRY_H
#define DORNIMAGE_PRIMITIVES_WARP_WARPGEOMETRY_H

// Affine matrices, and where the source comes to lie in the destination. Every function takes any double:
// numbers leave floating point only after they were brought into range.

#include <array>
#include <cstddef>
#include <cstdint>

#include "primitives/warp/WarpSpec.h"

namespace primitives {

// In the order of the coefficients.
using WarpMatrix = std::array<double, 6>;

// Relative to the product of the diagonal, so that a matrix of very small scale passes.
bool isSingular(const WarpMatrix& m);

// All zero when the determinant is below the precision of a double.
WarpMatrix inverseOf(const WarpMatrix& m);

// True when the matrix moves everything by whole pixels.
bool isPureShift(const WarpMatrix& m);

// The numbers rounded to the nearest, far ones brought within reach of the arithmetic on pixel positions.
WarpShift wholeShift(double x, double y);

struct WarpPoint {
    double x;
    double y;
};

using WarpQuad = std::array<WarpPoint, 4>;

// Where the matrix takes the corners of a rectangle.
WarpQuad mapRectangle(const WarpMatrix& m, WarpPoint low, WarpPoint high);

// True when the edges all turn the same way. `isClockwise` may be null.
bool isConvex(const WarpQuad& quad, bool* isClockwise = nullptr);

// What a destination of a given size shows of a quadrilateral.
class WarpFigure {
public:
    WarpFigure(const WarpQuad& quad, IppiSize dstSize);

    // The rows that it has pixels in; -1 and -2 when there are none.
    std::int32_t firstRow() const { return firstRow_; }
    std::int32_t lastRow() const { return lastRow_; }
    // lastRow - firstRow + 1
    std::size_t rows() const { return static_cast<std::size_t>(std::int64_t{lastRow_} - firstRow_ + 1); }

    // Writes the columns of rows() rows.
    void fillTable(WarpColumns* table) const;

private:
    // A cut at most doubles the corners, even of a figure that crosses itself.
    static constexpr std::size_t kMostCorners = 4 * 16;

    void cut(double WarpPoint::*across, double WarpPoint::*along, double limit, bool keepsBelow);
    void fillEdge(WarpPoint from, WarpPoint to, WarpColumns* table) const;

    IppiSize dstSize_;
    std::array<WarpPoint, kMostCorners> corners_{};
    std::size_t count_ = 0;
    std::int32_t firstRow_ = -1;
    std::int32_t lastRow_ = -2;
};

} // namespace primitives

#endif
