#include "dsp/surround/renderer_input.h"

#include <algorithm>
#include <iterator>

namespace quorvel {
namespace {

constexpr uint32_t kLowFrequency = 0x8;
constexpr uint32_t kQuad = 0x33;
constexpr int8_t kNone = RendererInput::kSilent;

// The low-frequency sample goes to front left and right: channels 0 and 2, or 0 and 1 of two.
constexpr RendererInput kInputs[] = {
    {0x4, 1, 1, {0}},
    {0x3, 2, 2, {0, 1}},
    {0xB, 3, 2, {0, 1}, 0b11, 2},
    {kQuad, 4, 5, {0, kNone, 1, 2, 3}},
    {0x107, 4, 4, {0, 2, 1, 3}},
    {0x3F, 6, 5, {0, 2, 1, 4, 5}, 0b101, 3},
    {0x60F, 6, 5, {0, 2, 1, 4, 5}, 0b101, 3},
    {0xFF, 8, 7, {0, 2, 1, 6, 7, 4, 5}, 0b101, 3},
    {0x63F, 8, 7, {0, 2, 1, 6, 7, 4, 5}, 0b101, 3},
};

// Both pointers stand at the first sample of their channel.
void CopyChannel(const float* in, std::ptrdiff_t inStride, float* out, std::ptrdiff_t outStride,
                 int32_t frames) {
    for (int32_t f = 0; f < frames; ++f)
        out[f * outStride] = in[f * inStride];
}

void AddChannel(const float* in, std::ptrdiff_t inStride, float* out, std::ptrdiff_t outStride,
                int32_t frames) {
    for (int32_t f = 0; f < frames; ++f)
        out[f * outStride] += in[f * inStride];
}

}  // namespace

const RendererInput* FindRendererInput(uint32_t mask) {
    const auto* row = std::ranges::find(kInputs, mask, &RendererInput::mask);
    return row == std::end(kInputs) ? nullptr : row;
}

int32_t RendererChannels(uint32_t mask, int32_t channels) {
    if (mask == kQuad) return 5;
    return mask & kLowFrequency ? channels - 1 : channels;
}

void ConvertForRenderer(const RendererInput& row, const float* in, int32_t channels, float* out,
                        int32_t rendererChannels, int32_t frames) QUORVEL_REAL_TIME {
    constexpr float kSilence = 0.0f;
    for (int32_t i = 0; i < rendererChannels; ++i) {
        const bool isSilent = i >= row.count || row.sources[i] == kNone;
        if (isSilent) {
            CopyChannel(&kSilence, 0, out + i, rendererChannels, frames);
            continue;
        }
        CopyChannel(in + row.sources[i], channels, out + i, rendererChannels, frames);
        if (row.lowTo >> i & 1)
            AddChannel(in + row.lowChannel, channels, out + i, rendererChannels, frames);
    }
}

}  // namespace quorvel
