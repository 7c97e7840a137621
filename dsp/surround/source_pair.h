// Two sources in their directions: what they bring to the two ears.
//
// A source is one channel. Its near ear hears it filtered, its far ear delayed and filtered; the
// four filters of two sources work side by side. Left and right speakers of a pair belong
// together here: an ear then sums their shares first, and mirrored input gives mirrored output bit
// for bit.
#pragma once

#include <cstdint>

#include "dsp/surround/ear_filters.h"
#include "dsp/surround/early_reflections.h"
#include "dsp/surround/far_ear_delay.h"
#include "platform/real_time.h"

namespace quorvel {

// One input channel and where it stands.
struct SoundSource {
    int32_t channel = 0;   // place in the input frame
    double azimuth = 0.0;  // degrees, positive to the left: -180 < azimuth ≤ 180
};

// Frames to render, at most kLongestStretch, and what has been rendered of them.
struct EarStretch {
    const float* in = nullptr;  // frames × channels, finite
    int32_t channels = 0;
    int32_t frames = 0;
    float left[kLongestStretch] = {};
    float right[kLongestStretch] = {};
    SideFrame sides[kLongestStretch] = {};  // what stands left and right, for the reflections
};

// Plain data.
struct SourcePair {
    // Places two sources, which must not be straight ahead, or one: the other is then null.
    // Starts from silence. `sampleRate` in Hz, at most 384000. Allocates nothing.
    void Place(const SoundSource& first, const SoundSource* second, double sampleRate);

    // The place of the four filters: near ears, then far ears.
    static constexpr int32_t kNear = 0;
    static constexpr int32_t kFar = 2;

    struct Source {
        int32_t channel = 0;
        float gain = 0.0f;
        int32_t leftLane = kNear;  // the lane of the left ear
        int32_t rightLane = kFar;
        float leftShare = 0.0f;  // of what goes to the reflections
        float rightShare = 0.0f;
        FarEarDelay delay{};
    };

    Source sources[2] = {};
    EarFilters filters{};
};

// Adds the pair to the stretch. RenderPairPlain is the definition, RenderPair gives the same bits
// with the four filters in one vector.
void RenderPairPlain(SourcePair& pair, EarStretch& stretch) QUORVEL_REAL_TIME;
void RenderPair(SourcePair& pair, EarStretch& stretch) QUORVEL_REAL_TIME;

}  // namespace quorvel
