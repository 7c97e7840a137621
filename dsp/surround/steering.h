// Which way the dominant source of one band stands, and how surely.
//
// Per frame, one-pole averages of the squares and the product of left and right (the covariance of
// the pair) over 16, 6 and 6 ms in the low, middle and high band; the low band first loses what is
// below 25 Hz. Per tick, with P = ll + rr + 10⁻¹⁰, the momentary direction is
//
//     tx = (ll - rr)/P  (left positive)        ty = 2 lr/P  (centre positive, surround negative)
//
// and the steering v follows it, slowly as long as it stays near and fast after a jump or when one
// source stands alone. A sound that begins is followed at once: when P grows to three times its
// value within a tick, nearly all of P is new sound, and so is its direction. Below P = 10⁻⁹ the
// direction is held. |v| is 1 for a single source and 0 for ambience. Being smoothed in the plane,
// the direction never wraps; being a ratio, it does not run wild near silence.
#pragma once

#include <cstdint>

#include "dsp/surround/quadrature_bands.h"

namespace quorvel {

// How fast one band follows. Plain data.
struct SteeringRates {
    float average = 0.0f;   // of the covariance, a frame
    float constant = 0.0f;  // of what is removed below 25 Hz, a frame; 0: nothing is
    float slow = 0.0f;      // of v, a tick
    float fast = 0.0f;
    float calming = 0.0f;  // what is left of the agility after a tick
};

// For the band 0, 1 or 2 at `sampleRate` Hz with `tickFrames` frames a tick. Brisk: small moves are
// followed in half the time.
SteeringRates MakeSteeringRates(int32_t band, double sampleRate, int32_t tickFrames, bool isBrisk);

// Plain data, all zero at first: ambience.
struct BandSteering {
    float covariance[4] = {};  // ll, rr, lr, none
    float offset[4] = {};      // of left and right, below 25 Hz
    float x = 0.0f;            // v
    float y = 0.0f;
    float agility = 0.0f;    // 0 to 1
    float lastPower = 0.0f;  // a tick ago

    // Takes frames of the band: their first two lanes.
    void Listen(const SteeringRates& rates, const BandFrame* frames,
                int32_t count) QUORVEL_REAL_TIME;

    // Follows the momentary direction. Once a tick.
    void Follow(const SteeringRates& rates) QUORVEL_REAL_TIME;

    float Power() const { return covariance[0] + covariance[1]; }
};

// 0 up to `from`, 1 from `to` on, 3 z² - 2 z³ between.
float SmoothStep(float value, float from, float to);

}  // namespace quorvel
