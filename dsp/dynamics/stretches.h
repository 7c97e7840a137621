// Walks a buffer in stretches of frames, quiet ones at a time, lively ones at a time.
#pragma once

#include <algorithm>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel::dynamics {

inline constexpr int32_t kLivelyStretch = 128;  // frames; their peaks take 1 KiB of stack

// Calls `passQuiet(in, out, frames)` with all frames that are left; it handles as many leading ones
// as it can and returns their number. When that is 0, calls `runLively(in, out, frames)` with the
// next kLivelyStretch frames or fewer, which it handles all.
template <typename PassQuiet, typename RunLively>
void WalkStretches(const float* in, float* out, int32_t frames, int32_t channels,
                   PassQuiet passQuiet, RunLively runLively) QUORVEL_REAL_TIME {
    while (frames > 0) {
        int32_t done = passQuiet(in, out, frames);
        if (done == 0) {
            done = std::min(frames, kLivelyStretch);
            runLively(in, out, done);
        }
        frames -= done;
        in += int64_t{done} * channels;
        out += int64_t{done} * channels;
    }
}

}  // namespace quorvel::dynamics
