// Conversions between amplitude factors and decibels, in double precision.
#pragma once

#include "base/math/exponential.h"
#include "base/math/logarithm.h"

namespace quorvel::dynamics {

inline constexpr double kDecibelsPerNeper = 8.685889638065037;    // 20 / ln 10
inline constexpr double kNepersPerDecibel = 0.11512925464970228;  // ln 10 / 20

// Added to levels before a logarithm, and to what the envelopes follow, so that neither logarithms
// nor envelopes reach zero.
inline constexpr double kDcOffset = 1e-25;

inline double LinearToDecibels(double amplitude) {
    return math::Log(amplitude) * kDecibelsPerNeper;
}

inline double DecibelsToLinear(double dB) {
    return math::Exp(dB * kNepersPerDecibel);
}

}  // namespace quorvel::dynamics
