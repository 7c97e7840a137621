// The first step of every trigonometric function: taking off quarter turns.
#pragma once

#include "base/math/double_double.h"

namespace quorvel::math {

// x = (count + 4 n) · π/2 + rest, for some whole n.
struct QuarterTurns {
    int count = 0;      // 0 to 3
    DoubleDouble rest;  // at most π/4 and a little either way; its error is below 2^-70 of it
};

// For finite x of 0 or above, however large.
QuarterTurns TakeQuarterTurns(double x);

}  // namespace quorvel::math
