#include "dsp/surround/stereo_renderer_stage.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <type_traits>

#include "dsp/surround/head_renderer.h"

namespace quorvel {
namespace {

struct RateCode {
    int32_t sampleRate;  // Hz
    int32_t code;
};
constexpr RateCode kRateCodes[] = {{48000, 0}, {44100, 1}, {32000, 2}, {96000, 16}, {88200, 17}};

constexpr int32_t kMostChannels = 7;

// Azimuths of the channels, by their number - 1.
constexpr double kAzimuths[kMostChannels][kMostChannels] = {{0},
                                                            {30, -30},
                                                            {30, 0, -30},
                                                            {30, 0, -30, 180},
                                                            {30, 0, -30, 110, -110},
                                                            {30, 0, -30, 90, -90, 180},
                                                            {30, 0, -30, 90, -90, 150, -150}};

// What stands in the work memory. Zeros: nothing is set up.
struct StageMemory {
    int32_t inputChannels = 0;
    int32_t sampleRate = 0;  // Hz
    HeadRenderer renderer{};
};
static_assert(std::is_trivially_copyable_v<StageMemory>);
static_assert(sizeof(StageMemory) <= kStereoRendererMemory);
static_assert(offsetof(StageMemory, renderer) <= kStereoRendererClearedMemory);
static_assert(alignof(StageMemory) == alignof(float));

int32_t SampleRateOf(const StereoRendererState& state) {
    const auto* row = std::ranges::find(kRateCodes, state.rateCode, &RateCode::code);
    const bool isShared = row == std::end(kRateCodes) || row->code == 0;
    if (!isShared) return row->sampleRate;
    if (state.sampleRate == 0) return kRateCodes[0].sampleRate;
    return std::clamp(state.sampleRate, HeadRenderer::kLowestRate, HeadRenderer::kHighestRate);
}

void SetUp(StageMemory& memory, const StereoRendererState& state, int32_t sampleRate) {
    memory.inputChannels = state.inputChannels;
    memory.sampleRate = sampleRate;
    const auto count = static_cast<std::size_t>(state.inputChannels);
    std::array<SoundSource, kMostChannels> sources{};
    for (std::size_t c = 0; c < count; ++c)
        sources[c] = {static_cast<int32_t>(c), kAzimuths[count - 1][c]};
    memory.renderer.Place(std::span(sources).first(count), state.inputChannels, sampleRate);
}

}  // namespace

int32_t StereoRendererRateCode(int32_t sampleRate) {
    const auto* row = std::ranges::find(kRateCodes, sampleRate, &RateCode::sampleRate);
    return row == std::end(kRateCodes) ? kRateCodes[0].code : row->code;
}

void RenderStereo(StereoRendererState& state, const float* in, float* out,
                  int32_t frames) QUORVEL_REAL_TIME {
    if (frames < 1) return;
    if (state.inputChannels < 1 || state.inputChannels > kMostChannels || !state.memory) {
        std::fill_n(out, std::size_t{2} * static_cast<std::size_t>(frames), 0.0f);
        return;
    }
    auto& memory = *std::launder(reinterpret_cast<StageMemory*>(state.memory));
    const int32_t sampleRate = SampleRateOf(state);
    if (memory.inputChannels != state.inputChannels || memory.sampleRate != sampleRate)
        SetUp(memory, state, sampleRate);
    memory.renderer.Render(in, out, frames);
}

}  // namespace quorvel
