// Runs a dynamics engine over a buffer of interleaved frames, one gain for all channels.
//
// For each frame, in order:
//
//     key    = the largest |x| of the frame, from 0.0; a NaN is larger than nothing
//     gain   = engine.ComputeGain(key)
//     out[c] = in[c] * gain     in double precision, rounded to float
//
// `in` and `out` hold frames × channels floats; they are the same buffer or do not overlap. A count
// of 0 or below writes nothing; frames without channels still let the envelope run, with key 0.
//
// Real-time: no allocation, no lock, no system call. Infinities and NaNs act as the formulas say,
// which means that a NaN can stay in an envelope until it is reset.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel::dynamics {

class SimpleComp;
class SimpleGate;
class SimpleLimit;

// Both leave out logarithms, exponentials and products whose outcome is certain. Output and
// envelope have the same bits as those of the plain definition below.
void ProcessLinked(SimpleComp& compressor, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME;
void ProcessLinked(SimpleGate& gate, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME;

// The limiter has a step of its own, SimpleLimit::ProcessFrame, for each frame; its fast path has
// the bits of these steps.
void ProcessLinked(SimpleLimit& limiter, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME;

// The definition at the top of this file, word for word: the reference for tests and benches.
void ProcessLinkedPlain(SimpleComp& compressor, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME;
void ProcessLinkedPlain(SimpleGate& gate, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME;
void ProcessLinkedPlain(SimpleLimit& limiter, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME;

}  // namespace quorvel::dynamics
