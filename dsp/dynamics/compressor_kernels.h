// The loops that run a compressor over lively sound: levels may be above the threshold, and the
// gain moves.
//
// They give the bits of ProcessLinkedPlain (linked_gain.h). Only the envelope waits for the frame
// before; logarithms and exponentials of neighbouring frames are calculated together, in vector
// lanes. Any thread; no allocation.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel::dynamics {

// What a kernel works on. `in` and `out` are interleaved and are the same buffer or do not overlap.
struct CompressorRun {
    const float* in = nullptr;
    float* out = nullptr;
    int32_t frames = 0;    // 0 or above
    int32_t channels = 0;  // 0 or above
    double thresholdDb = 0.0;
    double slope = 0.0;   // dB of gain by dB above the threshold: ratio - 1
    double attack = 0.0;  // the coefficients of the follower
    double release = 0.0;
    double envelope = 0.0;  // dB above the threshold; a kernel moves it on
};

// Runs the leading frames, as many as make whole vectors, and returns how many those are.
using CompressorKernel = int32_t (*)(CompressorRun& run) QUORVEL_REAL_TIME;

// Vectors of two doubles: the processor's baseline.
int32_t RunCompressorInTwos(CompressorRun& run) QUORVEL_REAL_TIME;

// Vectors of four doubles. On x86 only where platform::ProcessorHasAvx2().
int32_t RunCompressorInFours(CompressorRun& run) QUORVEL_REAL_TIME;

// The fastest kernel for this processor.
CompressorKernel ChooseCompressorKernel() QUORVEL_REAL_TIME;

}  // namespace quorvel::dynamics
