// Where a fading signal ends.
#pragma once

#include <cmath>

namespace quorvel {

// -400 dB of full scale: far below hearing, far above the denormal numbers, which are slow.
inline constexpr float kFaded = 1e-20f;

// `state`, or 0 when it has faded.
inline float WithoutFaded(float state) {
    return std::fabs(state) < kFaded ? 0.0f : state;
}

}  // namespace quorvel
