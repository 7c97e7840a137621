// Keeping out what is no audio.
#pragma once

#include <cmath>

#include "dsp/surround/faded.h"

namespace quorvel {

inline constexpr float kLoudestSample = 16.0f;

// `sample`, or 0 when it is not finite, above 16 or faded: one comparison each keeps out NaNs,
// infinities and what would make filters slow.
inline float CleanSample(float sample) {
    const float magnitude = std::fabs(sample);
    return magnitude >= kFaded && magnitude <= kLoudestSample ? sample : 0.0f;
}

}  // namespace quorvel
