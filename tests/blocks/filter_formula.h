// The filters' transfer functions in double precision, written apart from the library.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>

#include "dsp/biquad/filter_band.h"

namespace quorvel {

// H(e^(i·2π·hz/rate)) of one band by the cookbook's formulas, shelves with slope 1.
//
// The cookbook derives each filter from an analogue prototype H(s). Under the bilinear transform
// s = i·tan(w/2) / tan(w0/2), and the bandwidth becomes 1/Q = 2·alpha / sin(w0). Going this way
// shares no coefficient formula with the library.
inline std::complex<double> FormulaResponse(FilterType type, const FilterBand& band, double rate,
                                            double hz) {
    const double w0 = 2 * std::numbers::pi * band.frequency / rate;
    const double A = std::pow(10.0, band.gainDb / 40.0);
    const double width = band.width;
    const double oneOverQ[] = {1 / width,
                               2 * std::sinh(std::log(2.0) / 2 * width * w0 / std::sin(w0)),
                               std::sqrt((A + 1 / A) * (1 / width - 1) + 2)};
    const std::complex<double> s(0, std::tan(std::numbers::pi * hz / rate) / std::tan(w0 / 2));
    const auto bandwidth = s * oneOverQ[static_cast<uint16_t>(band.widthMode)];
    const auto slope = s * std::sqrt(2 * A);  // sqrt(A)/Q with S = 1
    const auto resonance = s * s + bandwidth + 1.0;
    const std::complex<double> byType[] = {
        1.0 / resonance,
        s * s / resonance,
        bandwidth / resonance,
        (s * s + 1.0) / resonance,
        (s * s + bandwidth * A + 1.0) / (s * s + bandwidth / A + 1.0),
        A * (s * s + slope + A) / (A * s * s + slope + 1.0),
        A * (A * s * s + slope + 1.0) / (s * s + slope + A),
    };
    return byType[static_cast<uint32_t>(type)];
}

}  // namespace quorvel
