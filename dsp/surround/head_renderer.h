// Sources around a head, rendered to its two ears.
//
// Sources straight ahead go to both ears unfiltered, without reflections; all others in pairs
// (source_pair.h), two by two in the order in which they are given.
#pragma once

#include <cstdint>
#include <span>

#include "dsp/surround/early_reflections.h"
#include "dsp/surround/source_pair.h"
#include "platform/real_time.h"

namespace quorvel {

// Plain data, about 26 KB; usable after Place.
struct HeadRenderer {
    static constexpr int32_t kMostSources = 8;
    static constexpr int32_t kMostPairs = kMostSources / 2;
    static constexpr int32_t kLowestRate = 10;  // Hz
    static constexpr int32_t kHighestRate = 384000;

    int32_t channels = 0;       // floats per input frame
    int32_t stretchFrames = 0;  // of the current stretch that have been rendered
    float directGain = 0.0f;
    int32_t directCount = 0;
    int32_t pairCount = 0;
    int32_t directChannels[kMostSources] = {};
    SourcePair pairs[kMostPairs] = {};
    EarlyReflections reflections{};

    // Starts from silence with at most kMostSources `sources` from frames of at most kMostSources
    // channels. `sampleRate` in Hz, kLowestRate to kHighestRate. Some sines and powers; allocates
    // nothing.
    void Place(std::span<const SoundSource> sources, int32_t inputChannels, double sampleRate);

    // Renders `in` (frames × channels) into `out` (frames × 2) at half level: × 10^(-6/20). The two
    // do not overlap. RenderPlain is the definition, which Render follows bit for bit. What a call
    // gives does not depend on how the frames are divided into calls.
    void Render(const float* in, float* out, int32_t frames) QUORVEL_REAL_TIME;
    void RenderPlain(const float* in, float* out, int32_t frames) QUORVEL_REAL_TIME;
};

}  // namespace quorvel
