// Sounds whose samples have the same bits on every system: whole numbers and base/math alone.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvel::test {

enum class SignalKind { kTones, kNoise, kSpeech };

inline constexpr struct {
    SignalKind kind;
    const char* name;
} kSignals[] = {
    {SignalKind::kTones, "tones"}, {SignalKind::kNoise, "noise"}, {SignalKind::kSpeech, "speech"}};

// `frames` × `channels` interleaved samples, different in every channel. Tones: three partials that
// swell from silence to above full scale. Noise: white, in steps of level over 60 dB. Speech:
// harmonics of a gliding pitch in syllables with pauses of silence between them.
std::vector<float> MakeSignal(SignalKind kind, int32_t frames, int32_t channels, double sampleRate);

}  // namespace quorvel::test
