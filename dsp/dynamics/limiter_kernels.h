// The loops that run a look-ahead limiter over a buffer.
//
// They give the bits of SimpleLimit::ProcessFrame, frame by frame. Only the held peak and the
// envelope wait for the frame before; peaks, divisions and products of four frames are calculated
// together, in vector lanes. Any thread; no allocation.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel::dynamics {

// What a kernel works on: the state of a SimpleLimit under the names that it has there. `in` and
// `out` are interleaved and are the same buffer or do not overlap.
struct LimiterRun {
    static constexpr uint32_t kMostChannels = 8;
    static constexpr uint32_t kLeastPeakHold = 4;  // frames

    const float* in = nullptr;
    float* out = nullptr;
    int32_t frames = 0;     // 0 or above
    uint32_t channels = 0;  // 1 to kMostChannels
    double threshold = 1.0;
    double attack = 0.0;  // the coefficients of the follower
    double release = 0.0;
    uint32_t peakHold = 0;  // kLeastPeakHold to mask + 1
    uint32_t mask = 0;
    float* lines[kMostChannels] = {};  // mask + 1 samples a channel

    // A kernel moves these on.
    uint32_t cursor = 0;
    uint32_t peakTimer = 0;
    double maxPeak = 1.0;
    double envelope = 1.0;
};

// Runs the leading frames, as many as make whole vectors, and returns how many those are.
using LimiterKernel = int32_t (*)(LimiterRun& run) QUORVEL_REAL_TIME;

// Vectors of two doubles: the processor's baseline.
int32_t RunLimiterInTwos(LimiterRun& run) QUORVEL_REAL_TIME;

// Vectors of four doubles. On x86 only where platform::ProcessorHasAvx2().
int32_t RunLimiterInFours(LimiterRun& run) QUORVEL_REAL_TIME;

// The fastest kernel for this processor.
LimiterKernel ChooseLimiterKernel() QUORVEL_REAL_TIME;

}  // namespace quorvel::dynamics
