// Surround on headphones by an engine from outside.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/audio_buffer.h"
#include "dsp/biquad/biquad_bank.h"
#include "dsp/surround/external_engine.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct ExternalSurroundParameters {
    uint32_t effectEnabled = 0;    // the engine's effect and this block's post-stage on, unless 0
    uint32_t switchB = 1;          // the engine's own; on unless 0
    float valueA = 0.15f;          // the engine's own
    uint32_t usePresetAngles = 1;  // speakers at the layout's usual angles; 0: at customAngles
    int16_t customAngles[8] = {30, -30, 0, 0, 150, -150, 90, -90};  // degrees by channel position,
                                                                    // positive to the left
    float channelValues[8] = {1, 1, 1, 1, 1, 1, 1, 1};  // the engine's own, by channel position
    float valueB = 1.0f;                                // the engine's own
};
#pragma pack(pop)
static_assert(sizeof(ExternalSurroundParameters) == 68);
static_assert(offsetof(ExternalSurroundParameters, switchB) == 4);
static_assert(offsetof(ExternalSurroundParameters, valueA) == 8);
static_assert(offsetof(ExternalSurroundParameters, usePresetAngles) == 12);
static_assert(offsetof(ExternalSurroundParameters, customAngles) == 16);
static_assert(offsetof(ExternalSurroundParameters, channelValues) == 32);
static_assert(offsetof(ExternalSurroundParameters, valueB) == 64);

// Renders 1, 2, 4, 6 or 8 channels to two. A mono input goes to the engine as a pair, -3 dB each.
// While the effect is enabled, the block raises what the engine gives by 2 dB. For a stereo layout
// it also has a two-band equaliser, which does not sound: its bank never gets a sample rate.
//
// Any other width, a configuration that the engine refuses, and the lack of an engine give silence.
// Parameters go to the engine at once. Mono input, and input in the output's buffer, allocate in
// Process when a call brings more frames than any before; when the memory cannot be had, that call
// gives silence.
class ExternalSurroundBlock final : public AudioBlock {
  public:
    // With the engine of CreateExternalEngine, or another one; an empty one is allowed.
    explicit ExternalSurroundBlock(const GUID& instanceId);
    ExternalSurroundBlock(const GUID& instanceId, ExternalEngine otherEngine);

    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;
    bool CanProcessInPlace() const override;
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes ExternalSurroundParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh. An engine cannot be told to; it is configured again, its effect off and on.
    void ClearState() QUORVEL_REAL_TIME;

  private:
    bool AcceptWidth();
    void SendParameters();
    void SendSpeakerAngles();
    const float* SpreadMono(const float* in, int32_t frames);
    const float* CopyInput(const float* in, int32_t frames);
    void RunPostStage(float* out, int32_t frames);

    ExternalEngine engine;
    int32_t speakerConfiguration = 0;  // the last one that the engine accepted
    BiquadBank postEq{};
    ExternalSurroundParameters settings{};
    bool formatOk = false;
    AudioBuffer scratch{};  // the engine's input where `in` is none
};

}  // namespace quorvel
