// Evens out the levels of an encoded pair whose centre has drifted to a side.
//
// While the middle band has a source within 3 dB of the centre, its side is turned down and the
// other up by up to 0.35 dB a second together, until the source stands in the centre or the range
// is used up. A source that is panned further is meant so and left alone.
#pragma once

#include <cstdint>

#include "dsp/surround/steering.h"

namespace quorvel {

// Plain data; without an effect at first.
struct PairBalance {
    float difference = 0.0f;  // of the gains, left over right, in dB
    float leftGain = 1.0f;
    float rightGain = 1.0f;

    // Once a tick of `seconds`. The difference stays within ±`rangeDb`. Off, it glides back to 0.
    void Follow(const BandSteering& middle, float rangeDb, bool isOn,
                float seconds) QUORVEL_REAL_TIME;
};

}  // namespace quorvel
