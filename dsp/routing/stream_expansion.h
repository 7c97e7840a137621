// Widening interleaved frames: the three ways to fill the new channels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// Widens one frame: `inBytes` bytes of channels into `outWidth` channels. Reads all of the input
// frame before it overwrites it, so both may start at one address. Channels that the output frame
// has no room for are dropped; nothing is written when `outWidth` is not positive.
using ExpandFrame = void (*)(const float* in, float* out, int32_t outWidth, std::size_t inBytes);

// The input's channels unchanged, then 0.0.
void ExpandZeroFill(const float* in, float* out, int32_t outWidth, std::size_t inBytes);

// The first input sample in every channel.
void ExpandMonoToAll(const float* in, float* out, int32_t outWidth, std::size_t inBytes);

// A single output channel gets the sample as it is. Otherwise the first two get it at -3 dB
// (times 0.70794576), and every further one gets 0.0.
void ExpandMonoToStereo(const float* in, float* out, int32_t outWidth, std::size_t inBytes);

// Widens `frames` frames, frame by frame as `expand` (one of the three above) says, from the last
// to the first, so that both may be one buffer: input that is still to be read is never
// overwritten. Frames that get narrower are walked from the first to the last for the same reason.
// Does nothing when a width or `frames` is not positive. No allocation.
void ExpandFrames(ExpandFrame expand, const float* in, float* out, int32_t frames, int32_t inWidth,
                  int32_t outWidth) QUORVEL_REAL_TIME;

// The plain definition of ExpandFrames, which gives the same bits in all cases.
void ExpandFramesPlain(ExpandFrame expand, const float* in, float* out, int32_t frames,
                       int32_t inWidth, int32_t outWidth) QUORVEL_REAL_TIME;

}  // namespace quorvel
