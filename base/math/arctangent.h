// The arctangent, in radians. What base/math/exponential.h says of bits, errors and threads holds
// here.
#pragma once

#include "platform/real_time.h"

namespace quorvel::math {

// From -π/2 to π/2.
double Atan(double x) QUORVEL_REAL_TIME;

// The angle of the point (x, y) from the positive x axis, from -π to π, with IEEE 754's results for
// zeros and infinities of either sign.
double Atan2(double y, double x) QUORVEL_REAL_TIME;

}  // namespace quorvel::math
