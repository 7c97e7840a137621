// The loops that run a bank of second-order sections over a buffer.
//
// Three kernels, one result. RunBiquadsPlain is the definition: it says what the samples are. The
// other two give the same bits, faster, and are compared with it by tests and benches. All work in
// single precision and evaluate a section as
//
//     y = (((b1·x1 + b0·x) + b2·x2) - a1·y1) - a2·y2
//
// Denormal numbers, infinities and NaNs go their IEEE way (only the payload of a NaN may differ).
// Any thread, one at a time on the same sections; no allocation.
#pragma once

#include <cstdint>

#include "dsp/biquad/biquad_section.h"
#include "platform/real_time.h"

namespace quorvel {

// What a kernel works on. `in` and `out` are interleaved, `width` floats a frame; they are the same
// buffer or do not overlap. Only the first `channels` samples of a frame are read and written.
struct BiquadRun {
    BiquadSection* sections = nullptr;  // channels × bands, channel-major
    int32_t bands = 0;                  // sections in series per channel, at least 1
    int32_t channels = 0;               // 0 to width
    const float* in = nullptr;
    float* out = nullptr;
    int32_t frames = 0;  // any; nothing happens below 1
    int32_t width = 0;
};

using BiquadKernel = void (*)(const BiquadRun& run) QUORVEL_REAL_TIME;

// Frame by frame, channel by channel, section by section. A section whose band has a zero width or
// frequency passes its input on and keeps its past.
void RunBiquadsPlain(const BiquadRun& run) QUORVEL_REAL_TIME;

// Vectors of four lanes: the processor's baseline.
void RunBiquadsInFours(const BiquadRun& run) QUORVEL_REAL_TIME;

// Vectors of eight lanes. On x86 only where platform::ProcessorHasAvx().
void RunBiquadsInEights(const BiquadRun& run) QUORVEL_REAL_TIME;

// The fastest kernel for this processor.
BiquadKernel ChooseBiquadKernel();

}  // namespace quorvel
