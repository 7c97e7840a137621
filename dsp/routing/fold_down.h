// Folding a multichannel frame down to mono or stereo: the routines, and the table that selects
// one by the speaker mask of the input and the width of the output.
//
// The weights are those of a listening room: low frequency at full level, centre (and back centre)
// at -3 dB, each half of a stereo pair at -6 dB when it goes to mono, rear and side pairs at -3 dB
// and then 0.871 to their own side, 0.49 to the other.
//
// Arithmetic is single precision. The order of the additions is part of the promise, since it
// decides the rounding: each routine's formula in fold_down.cpp is evaluated left to right.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// One row of the table.
struct FoldDown {
    // Folds one frame. Reads all of `in` before it writes `out`, so both may start at one address.
    using Frame = void (*)(const float* in, float* out);

    // Folds `frames` frames, none when it is negative, that stand without gaps on both sides:
    // frames × inputChannels into frames × outputChannels. Both may be one buffer. The same bits as
    // `frame` on every frame (but for the payloads of NaNs).
    using Block = void (*)(const float* in, float* out, int32_t frames);

    uint32_t mask = 0;           // speaker mask of the input
    int32_t inputChannels = 0;   // floats of an input frame that are read
    int32_t outputChannels = 0;  // floats of an output frame that are written: 1 or 2
    Frame frame = nullptr;       // the plain definition
    Block block = nullptr;       // the fast path
};

// The row for that mask and output width, with static lifetime; null when there is none.
const FoldDown* FindFoldDown(uint32_t mask, uint32_t outputChannels);

// Folds `frames` frames that are `stride` floats apart in `in`; does nothing when the frames are
// too narrow for the routine, that is, when `stride` is below foldDown.inputChannels. Both buffers
// may be one.
void FoldFrames(const FoldDown& foldDown, const float* in, float* out, int32_t frames,
                uint32_t stride) QUORVEL_REAL_TIME;

}  // namespace quorvel
