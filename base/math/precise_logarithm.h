// The natural logarithm with some ten bits more than a double, for functions that magnify its
// error.
#pragma once

#include "base/math/double_double.h"

namespace quorvel::math {

// For finite x above 0; the error is below 2^-67 of the result.
DoubleDouble PreciseLog(double x);

}  // namespace quorvel::math
