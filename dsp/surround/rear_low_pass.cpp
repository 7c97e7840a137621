#include "dsp/surround/rear_low_pass.h"

#include <algorithm>

namespace quorvel {
namespace {

constexpr TypedFilterBand kLowPass = {{7000.0f, 0.70710678f}, FilterType::LowPass};
constexpr double kFadeSeconds = 0.02;

}  // namespace

void RearLowPass::SetUp(double sampleRate, bool isOn) {
    *this = RearLowPass{};
    SetSection(section, 0, kLowPass, sampleRate);
    share = isOn ? 1.0f : 0.0f;
    shareStep = static_cast<float>(1.0 / (kFadeSeconds * sampleRate));
}

void RearLowPass::Apply(SpeakerImage* outputs, int32_t count, bool isOn) QUORVEL_REAL_TIME {
    const float wanted = isOn ? 1.0f : 0.0f;
    if (share == 0.0f && !isOn) return;
    SectionRun<float> run(section, 0);
    for (int32_t f = 0; f < count; ++f) {
        float* const backs = outputs[f].rear + 2;
        const float low = run.Filter(backs[0]);
        if (share != wanted)
            share = std::clamp(isOn ? share + shareStep : share - shareStep, 0.0f, 1.0f);
        for (int i = 0; i < 2; ++i)
            backs[i] = share == 1.0f ? low : backs[i] + share * (low - backs[i]);
    }
    run.Store(section, 0);
}

}  // namespace quorvel
