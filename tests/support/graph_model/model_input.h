// How the model looks at a graph's input: channels with signal, noise, the width that is needed.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "base/channel_masks.h"
#include "platform/random.h"
#include "tests/support/graph_model/model_block.h"

namespace quorvel::model {

inline constexpr float kAudible = 3.0f / 32768.0f;

// The speakers of the channels with signal, and the noise that is added on the way. Draws from the
// generator of the calling thread, as the graph does.
class Scan {
  public:
    // A new table of 16 random values.
    void DrawNoise() {
        for (std::size_t i = 0; i < noise.size(); ++i) {
            const auto drawn = static_cast<float>(platform::Rand() % 10922);
            noise[i] = (i % 2 == 1 ? -drawn : drawn) / 10922.667f * 9.1552734e-05f;
        }
    }

    uint32_t Run(Samples& in, int32_t width, uint32_t mask, bool addNoise) const {
        uint32_t active = 0;
        for (std::size_t i = 0; i < in.size(); ++i) {
            const bool isAudible = std::fabs(in[i]) > kAudible;
            if (isAudible) active |= SpeakerOf(i % static_cast<std::size_t>(width), mask);
            if (addNoise && (in[i] == 0.0f || isAudible)) {
                in[i] += noise[static_cast<std::size_t>(platform::Rand()) & 15];
            }
        }
        return active;
    }

  private:
    // The speaker bit of the channel: the one with `channel` set bits of the mask below it.
    static uint32_t SpeakerOf(std::size_t channel, uint32_t mask) {
        for (std::size_t below = 0; below < channel; ++below)
            mask &= mask - 1;
        return mask & (~mask + 1);
    }

    std::array<float, 16> noise{};
};

// Which of 2, 6 and 8 channels the signal needs: wider at once, narrower after the hold time.
struct Detector {
    int32_t detected = 0;  // in the last buffer with signal
    int32_t active = 0;    // in force; 0 before the first signal
    uint32_t activeMask = 0;
    uint32_t holdFrames = 0;
    uint32_t heldFrames = 0;

    void Update(uint32_t speakers, int32_t frames) {
        int32_t needed = 0;
        if (speakers & 0x3) needed = 2;    // front left, front right
        if (speakers & 0x3C) needed = 6;   // front centre, low frequency, back left, back right
        if (speakers & 0x600) needed = 8;  // side left, side right
        if (needed == 0) return;

        if (needed != detected) heldFrames = 0;
        bool switches = active == 0 || needed > active;
        if (needed < active && needed == detected) {
            heldFrames += static_cast<uint32_t>(frames);
            switches = heldFrames >= holdFrames;
        }
        detected = needed;
        if (!switches) return;
        active = needed;
        activeMask = DefaultChannelMask(static_cast<uint32_t>(needed));
        heldFrames = 0;
    }
};

}  // namespace quorvel::model
