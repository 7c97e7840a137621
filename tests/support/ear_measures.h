// What two ears hear, measured from impulse responses.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

namespace quorvel::test {

// The impulse responses of two ears at a sample rate in Hz.
struct EarResponse {
    double sampleRate = 48000.0;
    std::vector<float> left{};
    std::vector<float> right{};
};

using Spectrum = std::complex<double>;

// The transfer function at `frequency` (Hz).
inline Spectrum At(const std::vector<float>& impulseResponse, double frequency, double sampleRate) {
    const Spectrum step = std::polar(1.0, -2.0 * std::numbers::pi * frequency / sampleRate);
    Spectrum turn = 1.0, sum = 0.0;
    for (const float sample : impulseResponse) {
        sum += turn * double{sample};
        turn *= step;
    }
    return sum;
}

inline double Decibels(double power) {
    return 10.0 * std::log10(power);
}

// Mean power over the third of an octave around `frequency`, all frequencies weighing the same.
inline double ThirdOctavePower(const std::vector<float>& impulseResponse, double frequency,
                               double sampleRate) {
    constexpr int kPoints = 48;
    double sum = 0.0;
    for (int i = 0; i < kPoints; ++i) {
        const double octaves = ((i + 0.5) / kPoints - 0.5) / 3.0;
        sum += std::norm(At(impulseResponse, frequency * std::exp2(octaves), sampleRate));
    }
    return sum / kPoints;
}

// Power gain of the K-weighting at 48 kHz (ITU-R BS.1770-4).
inline double KWeight(double frequency) {
    return std::norm(At({1.53512486f, -2.69169619f, 1.19839281f}, frequency, 48000.0) *
                     At({1.0f, -2.0f, 1.0f}, frequency, 48000.0) /
                     At({1.0f, -1.69065929f, 0.73248077f}, frequency, 48000.0) /
                     At({1.0f, -1.99004745f, 0.99007225f}, frequency, 48000.0));
}

// The level (dB) of pink noise in both ears together, K-weighted. For responses at 48 kHz.
inline double LoudnessDb(const EarResponse& ears) {
    double heard = 0.0, plain = 0.0;
    for (double f = 20.0; f < 20000.0; f *= 1.01) {  // pink: every octave weighs the same
        heard += KWeight(f) *
                 (std::norm(At(ears.left, f, 48000.0)) + std::norm(At(ears.right, f, 48000.0)));
        plain += KWeight(f);
    }
    return Decibels(heard / plain);
}

// How much later the right ear hears what lies between the two frequencies (Hz): the place of the
// largest cross-correlation, in µs, to 1 µs.
inline double TimeDifferenceUs(const EarResponse& ears, double low, double high) {
    std::vector<std::pair<double, Spectrum>> cross;
    for (double f = low; f <= high; f += 10.0) {
        cross.emplace_back(
            f, At(ears.left, f, ears.sampleRate) * std::conj(At(ears.right, f, ears.sampleRate)));
    }
    double best = 0.0, largest = -1e300;
    for (double us = -1000.0; us <= 1000.0; us += 1.0) {
        double correlation = 0.0;
        for (const auto& [f, product] : cross)
            correlation += (product * std::polar(1.0, -2e-6 * std::numbers::pi * f * us)).real();
        if (correlation > largest) largest = correlation, best = us;
    }
    return best;
}

}  // namespace quorvel::test
