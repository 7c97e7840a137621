#include "dsp/surround/head_renderer.h"

#include <algorithm>

#include "dsp/surround/clean_sample.h"
#include "dsp/surround/head_model.h"

namespace quorvel {
namespace {

using RenderPairFunction = void (*)(SourcePair& pair, EarStretch& stretch) QUORVEL_REAL_TIME;

constexpr float kOutputGain = 0.50118723f;  // 10^(-6/20)

void Clean(const float* in, float* clean, int32_t samples) {
    for (int32_t i = 0; i < samples; ++i)
        clean[i] = CleanSample(in[i]);
}

void AddDirect(const HeadRenderer& renderer, float gain, EarStretch& stretch) {
    for (int32_t i = 0; i < renderer.directCount; ++i) {
        const float* sample = stretch.in + renderer.directChannels[i];
        for (int32_t f = 0; f < stretch.frames; ++f, sample += stretch.channels)
            stretch.left[f] += gain * *sample;
    }
    std::copy_n(stretch.left, stretch.frames, stretch.right);
}

void WriteEars(const EarStretch& stretch, float* out) {
    for (int32_t f = 0; f < stretch.frames; ++f) {
        out[2 * f] = stretch.left[f] * kOutputGain;
        out[2 * f + 1] = stretch.right[f] * kOutputGain;
    }
}

void DropFaded(HeadRenderer& renderer) {
    for (int32_t i = 0; i < renderer.pairCount; ++i)
        DropFadedStates(renderer.pairs[i].filters);
    renderer.reflections.DropFaded();
}

void RenderStretch(HeadRenderer& renderer, RenderPairFunction renderPair, const float* in,
                   float* out, int32_t frames) {
    float clean[kLongestStretch * HeadRenderer::kMostSources];
    Clean(in, clean, frames * renderer.channels);
    EarStretch stretch;
    stretch.in = clean;
    stretch.channels = renderer.channels;
    stretch.frames = frames;
    AddDirect(renderer, renderer.directGain, stretch);
    for (int32_t i = 0; i < renderer.pairCount; ++i)
        renderPair(renderer.pairs[i], stretch);
    renderer.reflections.Add(stretch.sides, stretch.left, stretch.right, frames);
    WriteEars(stretch, out);
}

// Stretches end where they would in one long call.
void RenderAll(HeadRenderer& renderer, RenderPairFunction renderPair, const float* in, float* out,
               int32_t frames) {
    while (frames > 0) {
        const int32_t count = std::min(frames, kLongestStretch - renderer.stretchFrames);
        RenderStretch(renderer, renderPair, in, out, count);
        renderer.stretchFrames = (renderer.stretchFrames + count) % kLongestStretch;
        if (renderer.stretchFrames == 0) DropFaded(renderer);
        in += count * renderer.channels;
        out += count * 2;
        frames -= count;
    }
}

}  // namespace

void HeadRenderer::Place(std::span<const SoundSource> sources, int32_t inputChannels,
                         double sampleRate) {
    *this = HeadRenderer{};
    channels = inputChannels;
    directGain = static_cast<float>(DirectionAt(0.0).gain);
    reflections.SetUp(sampleRate);
    const SoundSource* waiting = nullptr;
    for (const SoundSource& source : sources) {
        if (source.azimuth == 0.0) {
            directChannels[directCount++] = source.channel;
        } else if (!waiting) {
            waiting = &source;
        } else {
            pairs[pairCount++].Place(*waiting, &source, sampleRate);
            waiting = nullptr;
        }
    }
    if (waiting) pairs[pairCount++].Place(*waiting, nullptr, sampleRate);
}

void HeadRenderer::Render(const float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    RenderAll(*this, RenderPair, in, out, frames);
}

void HeadRenderer::RenderPlain(const float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    RenderAll(*this, RenderPairPlain, in, out, frames);
}

}  // namespace quorvel
