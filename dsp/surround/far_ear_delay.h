// The delay of a far ear: a fraction of frames, by Lagrange's third-order interpolation.
//
//     y[n] = Σ h[i] · x[n - m - i], i = -1 … 2        m = floor(lag), at least 1;  d = lag - m
//     h[-1] = -d(d-1)(d-2)/6       h[0] = (d+1)(d-1)(d-2)/2
//     h[1]  = -(d+1)d(d-2)/2       h[2] = (d+1)d(d-1)/6
//
// (T. I. Laakso et al., "Splitting the unit delay", IEEE Signal Processing Magazine, 1996.)
#pragma once

#include <cstdint>

namespace quorvel {

// The most frames that a lag may have. A head's at 384 kHz is below 237.
constexpr double kLongestFarEarLag = 250.0;

// Plain data; all zero it is silent.
struct FarEarDelay {
    // Every sample stands twice, kRing apart: so the last kRing ones can always be read in one
    // piece, whose end is the newest.
    static constexpr int32_t kRing = 256;

    float taps[4] = {};  // h, the one of the oldest sample first
    int32_t oldest = 0;  // place of its sample, relative to the newest one's first copy
    int32_t newest = 0;  // place of the newest sample's first copy
    float line[2 * kRing] = {};

    // `lag` in frames, 0 to kLongestFarEarLag.
    void SetLag(double lag);

    // Takes a sample; the result points at the four samples that belong to `taps`.
    const float* Push(float sample) {
        newest = (newest + 1) & (kRing - 1);
        line[newest] = sample;
        line[newest + kRing] = sample;
        return line + newest + oldest;
    }
};

}  // namespace quorvel
