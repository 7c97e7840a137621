// Loops over interleaved samples, several at a time: magnitudes, peaks and gains.
//
// `in` and `out` are the same buffer or do not overlap; frames and channels are 0 or above. All
// results have the bits of the loop that each comment gives. Real-time.
#pragma once

#include <cstdint>
#include <type_traits>

#include "platform/real_time.h"

namespace quorvel::dynamics {

// A factor this near to 1 leaves every float as it is: the nearest neighbour of a float x is at
// least 2^-24 |x| away, so x * gain, at most 2^-26 |x| from x, rounds back to x.
inline constexpr double kUnityTolerance = 1.0 / (1 << 26);

// The largest float that is not above `x`; NaN for a NaN.
float FloatNotAbove(double x);

// out[i] = in[i] * gain, in double precision and rounded, over the leading frames in which no |in|
// is above `ceiling` (a NaN is not). Returns how many frames those are, or fewer: the last ones may
// be left. A NaN as `ceiling` lets none pass.
int32_t ScaleWhileBelow(const float* in, float* out, int32_t frames, int32_t channels,
                        float ceiling, double gain) QUORVEL_REAL_TIME;

// peaks[f] = the largest |in| of frame f, from 0.0; NaNs are passed over.
void FindPeaks(const float* in, int32_t frames, int32_t channels, double* peaks) QUORVEL_REAL_TIME;

// Two doubles worked on together.
using Pair = double __attribute__((vector_size(16)));

inline Pair Both(double x) {
    return Pair{x, x};
}

// out[c] = in[c] * gain for one frame, in double precision and rounded; `gain` in both lanes.
// `Width` is int32_t or a std::integral_constant of it.
template <typename Width>
inline void ScaleFrame(const float* in, float* out, Width channels, Pair gain) QUORVEL_REAL_TIME {
    int32_t c = 0;
    for (; c + 2 <= channels; c += 2) {
        const Pair product =
            Pair{static_cast<double>(in[c]), static_cast<double>(in[c + 1])} * gain;
        out[c] = static_cast<float>(product[0]);
        out[c + 1] = static_cast<float>(product[1]);
    }
    if (c < channels) out[c] = static_cast<float>(static_cast<double>(in[c]) * gain[0]);
}

// Calls `run` with the width as a constant for common widths, so that the loops over a frame's
// channels unroll, and with `channels` itself for others.
template <typename Run>
inline void WithWidth(int32_t channels, Run run) QUORVEL_REAL_TIME {
    switch (channels) {
        case 1:
            return run(std::integral_constant<int32_t, 1>{});
        case 2:
            return run(std::integral_constant<int32_t, 2>{});
        case 8:
            return run(std::integral_constant<int32_t, 8>{});
        default:
            return run(channels);
    }
}

}  // namespace quorvel::dynamics
