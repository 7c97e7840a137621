// What the renderer gets of a frame, by the speaker mask.
#pragma once

#include <cstdint>

#include "platform/real_time.h"

namespace quorvel {

// How one mask is converted. Renderer channel i is the input channel `sources[i]`, or silence
// (kSilent), plus the low-frequency channel where `addsLow` says so.
struct RendererInput {
    static constexpr int32_t kMostChannels = 7;
    static constexpr int8_t kSilent = -1;

    uint32_t mask = 0;
    int32_t inputChannels = 0;  // that the mask has
    int32_t count = 0;          // renderer channels that are written
    int8_t sources[kMostChannels] = {};
    uint8_t lowTo = 0;       // bit i: renderer channel i gets the low-frequency channel too
    int8_t lowChannel = -1;  // its place in an input frame
};

// Null for a mask that the renderer does not know.
const RendererInput* FindRendererInput(uint32_t mask);

// Channels of the renderer's frame for an input of `channels` with the mask: the low-frequency
// channel does not count, and quad is rendered as five.
int32_t RendererChannels(uint32_t mask, int32_t channels);

// Converts `in` (frames × channels, at least as many as the mask has) into `out` (frames ×
// rendererChannels); channels that no speaker of the mask fills, and sources beyond
// `rendererChannels`, are left out or silent.
void ConvertForRenderer(const RendererInput& row, const float* in, int32_t channels, float* out,
                        int32_t rendererChannels, int32_t frames) QUORVEL_REAL_TIME;

}  // namespace quorvel
