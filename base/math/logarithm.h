// Logarithms. What base/math/exponential.h says of bits, errors and threads holds here.
#pragma once

#include "platform/real_time.h"

namespace quorvel::math {

// The natural logarithm: minus infinity for 0, NaN below.
double Log(double x) QUORVEL_REAL_TIME;

// The logarithm to base 10; exact for the powers of ten that doubles hold.
double Log10(double x) QUORVEL_REAL_TIME;

}  // namespace quorvel::math
