#include "primitives/core/Math.h"

#include <cmath>

namespace primitives {

void ippSinCos64f(double angle, double* sine, double* cosine) {
    *sine = std::sin(angle);
    *cosine = std::cos(angle);
}

} // namespace primitives
