#include "dsp/surround/substitute_engine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

#include "base/math/power.h"
#include "dsp/routing/fold_down.h"

namespace quorvel {
namespace {

// What the renderer gives lies 6 dB below a fold-down.
constexpr float kRendererMakeUp = 1.9952623f;  // 10^(6/20)

// Frames that are worked on at a time.
constexpr int32_t kPiece = 64;

struct Layout {
    int32_t channels;
    uint32_t mask;
};
// By configuration code - 1.
constexpr std::array<Layout, 4> kLayouts = {{{2, 0x3}, {4, 0x33}, {6, 0x3F}, {8, 0x63F}}};

}  // namespace

void SubstituteSurroundEngine::Destroy() {
    delete this;
}

void SubstituteSurroundEngine::SetSampleRate(int32_t sampleRate) {
    wanted.sampleRate =
        std::clamp(sampleRate, HeadRenderer::kLowestRate, HeadRenderer::kHighestRate);
}

int32_t SubstituteSurroundEngine::SetSpeakerConfiguration(int32_t code) {
    if (code < 1 || code > static_cast<int32_t>(kLayouts.size())) return -1;
    const Layout& layout = kLayouts[static_cast<std::size_t>(code - 1)];
    wanted.channels = layout.channels;
    mask = layout.mask;
    return 0;
}

void SubstituteSurroundEngine::SetSwitchB(int32_t) {}

void SubstituteSurroundEngine::SetEffectEnabled(int32_t isOn) {
    isEnabled = isOn != 0;
    if (!isEnabled) placed = {};
}

void SubstituteSurroundEngine::SetValueA(float) {}

void SubstituteSurroundEngine::SetSpeakerAngles(const float* angles) {
    std::transform(angles, angles + kPositions, wanted.azimuths.begin(), WrapAzimuth);
}

void SubstituteSurroundEngine::SetChannelValues(const float* values) {
    std::copy_n(values, kPositions, gains.begin());
}

void SubstituteSurroundEngine::SetValueB(float) {}

void SubstituteSurroundEngine::Render(const float* in, int32_t frames,
                                      float* out) QUORVEL_REAL_TIME {
    if (wanted.channels == 0) {
        std::fill_n(out, std::ptrdiff_t{2} * std::max(frames, 0), 0.0f);
        return;
    }
    if (isEnabled && wanted != placed) PlaceRenderer();
    for (int32_t done = 0; done < frames; done += kPiece) {
        RenderPiece(in + std::ptrdiff_t{done} * wanted.channels, std::min(kPiece, frames - done),
                    out + std::ptrdiff_t{done} * 2);
    }
}

void SubstituteSurroundEngine::PlaceRenderer() {
    placed = wanted;
    const auto count = static_cast<std::size_t>(wanted.channels);
    std::array<SoundSource, kPositions> sources{};
    for (std::size_t c = 0; c < count; ++c) {
        sources[c] = {static_cast<int32_t>(c), wanted.azimuths[c]};
        levels[c] = LevelOf(c);
    }
    renderer.Place(std::span(sources).first(count), wanted.channels, wanted.sampleRate);
}

// Takes the model's level off and puts that of the fold-down in its place: the power that both
// outputs get together.
float SubstituteSurroundEngine::LevelOf(std::size_t position) const {
    float frame[kPositions] = {}, folded[2] = {};
    frame[position] = 1.0f;
    FindFoldDown(mask, 2)->frame(frame, folded);
    const double modelDb = LevelDbAt(wanted.azimuths[position]);
    const double left = folded[0], right = folded[1];
    const double level = std::sqrt(left * left + right * right);
    return static_cast<float>(level * math::Pow(10.0, -modelDb / 20.0));
}

void SubstituteSurroundEngine::RenderPiece(const float* in, int32_t frames, float* out) {
    float scaled[kPiece * kPositions] = {};
    for (int32_t c = 0; c < wanted.channels; ++c) {
        const auto position = static_cast<std::size_t>(c);
        const float gain = isEnabled ? gains[position] * levels[position] : gains[position];
        for (int32_t i = c; i < frames * wanted.channels; i += wanted.channels)
            scaled[i] = in[i] * gain;
    }
    if (!isEnabled) return FindFoldDown(mask, 2)->block(scaled, out, frames);
    renderer.Render(scaled, out, frames);
    for (int32_t i = 0; i < 2 * frames; ++i)
        out[i] *= kRendererMakeUp;
}

}  // namespace quorvel
