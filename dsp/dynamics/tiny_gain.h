// Gains so small that every product is below the normal floats, as those of a gate are that stalled
// just above closed.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel::dynamics {

// A subnormal float is a whole number of units of 2^-149.
inline constexpr double kUnitsOfOne = 0x1p149;

// Products of at most so many units can be calculated with one fused operation.
inline constexpr double kMostFusedUnits = 0x1p22;

// out[i] = in[i] · gain with one rounding, over the leading samples in which no |in| is above
// `ceiling` (a NaN is not). `unitsGain` is the gain in units, held exactly; ceiling · unitsGain is
// below kMostFusedUnits. Works through `unit` samples at a time, a multiple of 32, so that some
// quiet ones may be left; returns how many it handled. `in` and `out` are the same buffer or do not
// overlap.
//
// On x86 only where platform::ProcessorHasFusedAdd(). Real-time.
int64_t ScaleTinyFused(const float* in, float* out, int64_t count, int64_t unit, float ceiling,
                       float unitsGain) QUORVEL_REAL_TIME;

}  // namespace quorvel::dynamics
