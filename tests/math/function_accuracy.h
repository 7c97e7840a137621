// How far the functions of base/math are from the truth, which MPFR tells.
#pragma once

#include <mpfr.h>

#include <cstdint>
#include <span>

namespace quorvel::test {

// A function of one or two arguments, ours and MPFR's. One that takes one ignores the second.
struct MathFunction {
    const char* name;
    double (*ours)(double x, double y);
    int (*truth)(mpfr_t result, mpfr_t x, mpfr_t y);
    double low, high;    // where most arguments lie
    double interesting;  // arguments near whole multiples of it get a share
    bool hasTwo;
};

// Every function of base/math.
std::span<const MathFunction> MathFunctions();

// The correct result, rounded to the nearest double.
double Truth(const MathFunction& function, double x, double y);

// The error of ours(x, y) in units of the last place of the correct result, as a fraction of one
// and more; infinity where one side is NaN and the other is not, or where ours is infinite without
// need. MPFR calculates with 80 bits, and with 200 where that leaves doubt whether one unit is
// kept.
double ErrorInUnits(const MathFunction& function, double x, double y);

struct LargestError {
    double units = 0.0;
    double x = 0.0, y = 0.0;  // where
};

// Over `count` arguments that depend on `seed` alone.
LargestError FindLargestError(const MathFunction& function, uint64_t seed, int64_t count);

}  // namespace quorvel::test
