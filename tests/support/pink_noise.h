// Pink noise together with the same noise a quarter turn behind.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <random>
#include <vector>

namespace quorvel::test {

using Analytic = std::vector<std::complex<double>>;

// The sum over k of spectrum[k] e^(2πi k n/N) for every n, in place. N is a power of two.
inline void InverseFourier(Analytic& values) {
    const std::size_t size = values.size();
    for (std::size_t i = 1, j = 0; i < size; ++i) {
        std::size_t bit = size >> 1;
        for (; j & bit; bit >>= 1)
            j ^= bit;
        j ^= bit;
        if (i < j) std::swap(values[i], values[j]);
    }
    for (std::size_t length = 2; length <= size; length <<= 1) {
        const auto turn = std::polar(1.0, 2.0 * std::numbers::pi / static_cast<double>(length));
        for (std::size_t start = 0; start < size; start += length) {
            std::complex<double> twiddle = 1.0;
            for (std::size_t k = start; k < start + length / 2; ++k, twiddle *= turn) {
                const auto even = values[k], odd = values[k + length / 2] * twiddle;
                values[k] = even + odd;
                values[k + length / 2] = even - odd;
            }
        }
    }
}

// Noise from 30 Hz to 15 kHz of power 0.01 (-20 dB), as an analytic signal: the real part is the
// noise, the imaginary part the noise 90° behind. It repeats after two to four seconds.
inline Analytic PinkNoise(double sampleRate, uint32_t seed) {
    std::size_t size = 1;
    while (static_cast<double>(size) < 2.0 * sampleRate)
        size <<= 1;
    const double step = sampleRate / static_cast<double>(size);
    const auto first = static_cast<std::size_t>(30.0 / step);
    const auto last = static_cast<std::size_t>(15000.0 / step);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> phase(0.0, 2.0 * std::numbers::pi);
    Analytic noise(size);
    double power = 0.0;
    for (std::size_t k = first; k <= last; ++k) {
        const double amplitude = 1.0 / std::sqrt(static_cast<double>(k));
        noise[k] = std::polar(amplitude, phase(random));
        power += amplitude * amplitude / 2.0;
    }
    InverseFourier(noise);
    for (auto& value : noise)
        value *= 0.1 / std::sqrt(power);
    return noise;
}

}  // namespace quorvel::test
