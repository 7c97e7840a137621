// The one rear signal of mode 0: low-passed at 7 kHz, in both back channels.
//
// Switching it on or off fades over 20 ms.
#pragma once

#include <cstdint>

#include "dsp/surround/section_lanes.h"
#include "dsp/surround/speaker_image.h"
#include "platform/real_time.h"

namespace quorvel {

// Plain data; usable after SetUp.
struct RearLowPass {
    SectionLanes section{};  // first lane
    float share = 0.0f;      // of the low-passed signal in the back channels, 0 to 1
    float shareStep = 0.0f;  // a frame, while it fades

    // Starts from silence, on or off. `sampleRate` in Hz. Allocates nothing.
    void SetUp(double sampleRate, bool isOn);

    // Replaces the back channels of `count` frames.
    void Apply(SpeakerImage* outputs, int32_t count, bool isOn) QUORVEL_REAL_TIME;

    // As in section_lanes.h.
    void DropFaded() { DropFadedStates(section); }
};

}  // namespace quorvel
