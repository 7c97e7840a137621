// Sine, cosine and tangent of angles in radians, however large; NaN for infinite ones. What
// base/math/exponential.h says of bits, errors and threads holds here.
#pragma once

#include "platform/real_time.h"

namespace quorvel::math {

double Sin(double x) QUORVEL_REAL_TIME;
double Cos(double x) QUORVEL_REAL_TIME;
double Tan(double x) QUORVEL_REAL_TIME;

}  // namespace quorvel::math
