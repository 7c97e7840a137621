// One factor over a run of samples.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// out[i] = gain * in[i] for i in 0 … count - 1, in single precision; nothing when `count` is not
// positive. Both may be one buffer.
void ScaleSamples(const float* in, float* out, int64_t count, float gain) QUORVEL_REAL_TIME;

}  // namespace quorvel
