// The engine where the library of the external one is not installed.
//
// With the effect enabled it renders the speakers of the layout from the azimuths it is given, by
// the model of the stereo renderer stage (head_renderer.h); a speaker at 0 degrees, which low
// frequency usually is, comes from the centre. With the effect disabled, as at first, it folds the
// layout down to two channels (dsp/routing/fold_down.h). At any azimuth every channel is as loud
// with the effect as in the fold-down: pink noise, K-weighted over both ears, to ±0.5 dB.
//
// What a setting means inside the external engine is not known. Of those without a telling name:
//
//     channel values   taken as a linear gain for each channel position, effect on or off
//     switch B         ignored
//     value A          ignored
//     value B          ignored
//
// Sample rates from 10 Hz to 384 kHz are honoured; others act as the nearest of the two. Angles are
// taken modulo 360; one that is not finite acts as 0. Bad input samples are dealt with as in
// stereo_renderer_stage.h while the effect is on.
#pragma once

#include <array>
#include <cstdint>

#include "dsp/surround/external_engine.h"
#include "dsp/surround/head_renderer.h"

namespace quorvel {

// Setters only store. The first Render after the effect has been enabled, and the first one after a
// new rate, layout or angle, starts from silence; no function allocates. Silence until a
// configuration has been accepted.
class SubstituteSurroundEngine final : public INineEarsSurroundSound {
  public:
    void Destroy() override;  // deletes this
    void SetSampleRate(int32_t sampleRate) override;
    int32_t SetSpeakerConfiguration(int32_t code) override;  // 0 for 1 to 4, else -1: no change
    void SetSwitchB(int32_t isOn) override;
    void SetEffectEnabled(int32_t isOn) override;
    void SetValueA(float value) override;
    void SetSpeakerAngles(const float* angles) override;
    void SetChannelValues(const float* values) override;
    void SetValueB(float value) override;
    void Render(const float* in, int32_t frames, float* out) QUORVEL_REAL_TIME override;

  private:
    static constexpr int32_t kPositions = 8;

    // What the renderer is placed by.
    struct Placement {
        int32_t sampleRate = 48000;  // Hz
        int32_t channels = 0;        // of the layout; 0 without one
        std::array<double, kPositions> azimuths{};

        bool operator==(const Placement&) const = default;
    };

    void PlaceRenderer();
    float LevelOf(std::size_t position) const;
    void RenderPiece(const float* in, int32_t frames, float* out);

    Placement wanted{};
    Placement placed{};
    uint32_t mask = 0;  // speakers of the layout
    bool isEnabled = false;
    std::array<float, kPositions> gains = {1, 1, 1, 1, 1, 1, 1, 1};
    std::array<float, kPositions> levels{};  // of the effect, by channel position, linear
    HeadRenderer renderer{};
};

}  // namespace quorvel
