// The look at a graph's input: which channels carry signal, and the noise added to it.
#pragma once

#include <array>
#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// A sample counts as signal above this magnitude: three steps of 16-bit audio.
inline constexpr float kSignalThreshold = 3.0f / 32768.0f;

class InputScan {
  public:
    // Learns the speaker of each channel and draws a new noise table from the C library's
    // generator. `mask` gives its speakers in ascending order to the channels.
    void SetMask(uint32_t mask);

    void SetNoiseEnabled(bool enabled) { noiseEnabled = enabled; }

    // Looks at `samples` (frames × channels, both 0 or more) and returns the speakers of the
    // channels with signal. With noise on, a random entry of the table is added to every sample
    // that is exactly 0 or signal; the faint samples in between get none. Channels beyond 32, or
    // beyond the mask, have no speaker.
    uint32_t Run(float* samples, int32_t frames, int32_t channels) const QUORVEL_REAL_TIME;

  private:
    uint32_t MaskOf(const float* samples, int32_t frames, int32_t channels) const;
    void AddNoise(float* samples, int64_t count) const;

    std::array<uint32_t, 32> channelBits{};
    std::array<float, 16> noise{};  // within ±3/32768, signs alternating
    bool noiseEnabled = true;
};

}  // namespace quorvel
