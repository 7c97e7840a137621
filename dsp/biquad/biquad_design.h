// The design of second-order filters.
//
// Source: R. Bristow-Johnson, "Cookbook formulae for audio equalizer biquad filter coefficients".
//
//            b0 + b1·z^-1 + b2·z^-2
//     H(z) = ----------------------
//            a0 + a1·z^-1 + a2·z^-2
//
//     f      the band's frequency, Hz             A      amplitude: the square root of the gain
//     fs     sample rate, Hz                      w0     2π·f / fs, the frequency in radians
//     g      the band's gain, dB                  alpha  what the width makes of the bandwidth:
//     w      the band's width
//                Q            sin(w0) / (2·w)
//                Octaves      sin(w0) · sinh(ln(2)/2 · w · w0 / sin(w0))
//                ShelfSlope   sin(w0)/2 · sqrt((A + 1/A)·(1/w - 1) + 2)
//                any other    0
//
// The shelves do not use alpha: they always have slope 1, whatever the width, which only must not
// be zero. BandPass is the variant whose peak is 0 dB. An alpha that is not finite becomes 0.
//
// What is single and what is double precision decides the last bits and is part of the contract:
// A is a double power rounded to single; w0 is calculated in double, its sine and cosine are those
// of the rounded w0; each of them and alpha are rounded to single once; PeakingEQ forms
// 1 ± alpha·A, 1 ± alpha/A and -2·cos(w0) in double. All else, g/40 and g/20 included, is single.
#pragma once

#include <cstdint>

#include "dsp/biquad/biquad_section.h"

namespace quorvel {

// Sets the five coefficients of `section` from its type and band; its past is kept. False, and
// nothing changes, when the band's frequency or width is zero. A NaN is not zero: it ends up in the
// coefficients. So do all NaNs for a type that is none of FilterType; the result is then true.
// Any thread; no allocation.
bool ComputeCoefficients(BiquadSection& section, uint32_t sampleRate);

}  // namespace quorvel
