// e^x and its relatives.
//
// The functions of base/math give the same bits on every system: they call nothing of the C library
// and add and multiply doubles in one fixed order, which needs rounding to nearest, no contraction
// and no extended precision. Each result is less than one unit in the last place away from the true
// value. NaN gives NaN. Any thread; no allocation, real-time.
#pragma once

#include "platform/real_time.h"

namespace quorvel::math {

// e^x; infinity from 709.79 on, 0 below -745.14.
double Exp(double x) QUORVEL_REAL_TIME;

// e^x - 1, without loss of digits near 0.
double Expm1(double x) QUORVEL_REAL_TIME;

// (e^x - e^-x) / 2.
double Sinh(double x) QUORVEL_REAL_TIME;

}  // namespace quorvel::math
