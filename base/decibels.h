// Conversions between a linear amplitude factor and decibels.
#pragma once

namespace quorvel {

// 10^(dB / 20): the quotient in single precision, the power in double, the result rounded to float.
float DbToLinear(float dB);

// 20 * log10(x): the logarithm in double precision rounded to float, the product in single.
// Zero gives minus infinity, a negative number NaN.
float LinearToDb(float x);

}  // namespace quorvel
