#include "tests/blocks/filter_formula.h"

#include <cmath>
#include <numbers>

namespace quorvel {
namespace {

using Complex = std::complex<double>;

double FormulaAlpha(const FilterBand& band, double w0, double A) {
    const double w = band.width;
    switch (band.widthMode) {
        case BandwidthMode::Q:
            return std::sin(w0) / (2 * w);
        case BandwidthMode::Octaves:
            return std::sin(w0) * std::sinh(std::log(2.0) / 2 * w * w0 / std::sin(w0));
        case BandwidthMode::ShelfSlope:
            return std::sin(w0) / 2 * std::sqrt((A + 1 / A) * (1 / w - 1) + 2);
    }
    return 0;
}

// The cookbook derives each filter from an analogue prototype H(s). Under the bilinear transform
// s = i·tan(w/2) / tan(w0/2), and the bandwidth becomes 1/Q = 2·alpha / sin(w0). Going this way
// shares no coefficient formula with the library.
Complex Prototype(FilterType type, Complex s, double oneOverQ, double A) {
    const Complex bandwidth = s * oneOverQ;
    const Complex slope = s * std::sqrt(2.0 * A);  // sqrt(A)/Q with S = 1
    switch (type) {
        case FilterType::LowPass:
            return 1.0 / (s * s + bandwidth + 1.0);
        case FilterType::HighPass:
            return s * s / (s * s + bandwidth + 1.0);
        case FilterType::BandPass:
            return bandwidth / (s * s + bandwidth + 1.0);
        case FilterType::Notch:
            return (s * s + 1.0) / (s * s + bandwidth + 1.0);
        case FilterType::PeakingEQ:
            return (s * s + bandwidth * A + 1.0) / (s * s + bandwidth / A + 1.0);
        case FilterType::LowShelf:
            return A * (s * s + slope + A) / (A * s * s + slope + 1.0);
        case FilterType::HighShelf:
            return A * (A * s * s + slope + 1.0) / (s * s + slope + A);
    }
    return 0;
}

}  // namespace

Complex FormulaResponse(FilterType type, const FilterBand& band, double rate, double hz) {
    const double w0 = 2 * std::numbers::pi * band.frequency / rate;
    const double w = 2 * std::numbers::pi * hz / rate;
    const double A = std::pow(10.0, band.gainDb / 40.0);
    const double oneOverQ = 2 * FormulaAlpha(band, w0, A) / std::sin(w0);
    return Prototype(type, Complex(0, std::tan(w / 2) / std::tan(w0 / 2)), oneOverQ, A);
}

}  // namespace quorvel
