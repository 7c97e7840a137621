// One second-order section: its filter, its coefficients and its past.
#pragma once

#include "dsp/biquad/filter_band.h"

namespace quorvel {

// Plain data, all zero at first. The coefficients are normalised (divided by a0):
//
//     y[n] = b0·x[n] + b1·x[n-1] + b2·x[n-2] - a1·y[n-1] - a2·y[n-2]
struct BiquadSection {
    FilterType type = FilterType::LowPass;
    FilterBand band;
    float b0 = 0.0f;
    float b1 = 0.0f;
    float b2 = 0.0f;
    float a1 = 0.0f;
    float a2 = 0.0f;
    float x1 = 0.0f;  // x[n-1]
    float x2 = 0.0f;  // x[n-2]
    float y1 = 0.0f;  // y[n-1]
    float y2 = 0.0f;  // y[n-2]
};

}  // namespace quorvel
