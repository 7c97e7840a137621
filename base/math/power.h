// Powers. What base/math/exponential.h says of bits, errors and threads holds here.
#pragma once

#include "platform/real_time.h"

namespace quorvel::math {

// base^exponent, with IEEE 754's results at the borders: 1 where the exponent is 0 or the base is
// 1, whatever the other is; NaN for a finite base below 0 and an exponent that is not whole.
double Pow(double base, double exponent) QUORVEL_REAL_TIME;

}  // namespace quorvel::math
