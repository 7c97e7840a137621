#include "tests/same_bits/signals.h"

#include <numbers>

#include "base/math/power.h"
#include "base/math/trigonometry.h"
#include "tests/support/mixed_bits.h"

namespace quorvel::test {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

double Tones(double seconds, int32_t channel) {
    constexpr double kPartials[][2] = {{220.0, 0.7}, {1661.0, 0.4}, {6300.0, 0.2}};
    double sum = 0.0;
    for (const auto& [hertz, amplitude] : kPartials)
        sum += amplitude * math::Sin(kTurn * hertz * seconds + channel);
    const double swell = math::Sin(std::numbers::pi * 5.0 * seconds);
    return 1.6 * swell * swell * sum;
}

double Noise(MixedBits& bits, int32_t frame, int32_t frames) {
    constexpr int32_t kSteps = 7;
    const int32_t step = static_cast<int32_t>(int64_t{frame} * kSteps / frames);
    return math::Pow(10.0, -0.5 * ((step * 3) % kSteps)) * (2.0 * bits.Share() - 1.0);
}

double Speech(double seconds, int32_t channel) {
    constexpr double kSyllable = 0.11, kVoiced = 0.075;  // seconds
    const int syllable = static_cast<int>(seconds / kSyllable);
    const double place = seconds - syllable * kSyllable;
    if (place >= kVoiced) return 0.0;
    const double pitch = 120.0 + 15.0 * (syllable % 3) + 90.0 * place;
    const double formant = 500.0 + 400.0 * ((syllable * 5 + channel) % 4);
    double sum = 0.0;
    for (int n = 1; n <= 20; ++n) {
        const double away = (n * pitch - formant) / 300.0;
        sum += math::Sin(kTurn * n * pitch * place) / (1.0 + away * away);
    }
    return 0.25 * math::Sin(std::numbers::pi * place / kVoiced) * sum;
}

}  // namespace

std::vector<float> MakeSignal(SignalKind kind, int32_t frames, int32_t channels,
                              double sampleRate) {
    MixedBits bits(static_cast<uint64_t>(channels));
    std::vector<float> samples;
    samples.reserve(static_cast<std::size_t>(frames) * static_cast<std::size_t>(channels));
    for (int32_t f = 0; f < frames; ++f) {
        const double seconds = f / sampleRate;
        for (int32_t c = 0; c < channels; ++c) {
            const double value = kind == SignalKind::kTones   ? Tones(seconds, c)
                                 : kind == SignalKind::kNoise ? Noise(bits, f, frames)
                                                              : Speech(seconds, c);
            samples.push_back(static_cast<float>(value));
        }
    }
    return samples;
}

}  // namespace quorvel::test
