// The geometry of rotations about a point.

#include <cmath>

#include "primitives/core/Dispatch.h"
#include "primitives/core/Math.h"
#include "primitives/warp/WarpAffine.h"

namespace primitives {
namespace {

// Sine and cosine of an angle in degrees, exact at right angles.
struct Turn {
    double sine;
    double cosine;
};

// Within 0 to 360 degrees. The whole turns stay in floating point: their number may have any size.
double reduceAngle(double angle) {
    const double reduced = angle - std::trunc(angle / 360.0) * 360.0;
    return reduced < 0.0 ? reduced + 360.0 : reduced;
}

Turn turnBy(double reduced) {
    if (reduced == 0.0) {
        return {0.0, 1.0};
    }
    if (reduced == 90.0) {
        return {1.0, 0.0};
    }
    if (reduced == 180.0) {
        return {0.0, -1.0};
    }
    if (reduced == 270.0) {
        return {-1.0, 0.0};
    }
    Turn turn{};
    ippSinCos64f(reduced / 180.0 * 3.141592653589793, &turn.sine, &turn.cosine);
    return turn;
}

// Neither gains from a variant.
template <int>
struct GetRotateShift {
    static IppStatus run(double xCenter, double yCenter, double angle, double* xShift, double* yShift) {
        if (!xShift || !yShift) {
            return ippStsNullPtrErr;
        }
        const double reduced = reduceAngle(angle);
        double x = 0.0;
        double y = 0.0;
        if (reduced == 90.0) {
            x = xCenter - yCenter;
            y = xCenter + yCenter;
        } else if (reduced == 180.0) {
            x = xCenter + xCenter;
            y = yCenter + yCenter;
        } else if (reduced == 270.0) {
            x = xCenter + yCenter;
            y = yCenter - xCenter;
        } else if (reduced != 0.0) {
            const auto [s, c] = turnBy(reduced);
            x = (xCenter - xCenter * c) - yCenter * s;
            y = (yCenter - c * yCenter) + xCenter * s;
        }
        *xShift = x;
        *yShift = y;
        return ippStsNoErr;
    }
};

template <int>
struct GetRotateTransform {
    static IppStatus run(double angle, double xShift, double yShift, double* coeffs) {
        if (!std::isfinite(angle)) {
            return ippStsOutOfRangeErr;
        }
        if (!coeffs) {
            return ippStsNullPtrErr;
        }
        const auto [s, c] = turnBy(reduceAngle(angle));
        const double matrix[6] = {c, s, xShift, 0.0 - s, c, yShift}; // no negative zero
        for (int i = 0; i < 6; ++i) {
            coeffs[i] = matrix[i];
        }
        return ippStsNoErr;
    }
};

} // namespace
} // namespace primitives

using namespace primitives;

IppStatus ippiGetRotateShift(double xCenter, double yCenter, double angle, double* xShift, double* yShift) {
    return dispatch<GetRotateShift>(xCenter, yCenter, angle, xShift, yShift);
}

IppStatus ippiGetRotateTransform(double angle, double xShift, double yShift, double* coeffs) {
    return dispatch<GetRotateTransform>(angle, xShift, yShift, coeffs);
}
