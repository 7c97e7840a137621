// A noise gate for all channels together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/dynamics/simple_gate.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct NoiseGateParameters {
    float thresholdDb = 0.0f;  // dB of full scale; a frame must be above it to open the gate
    uint32_t attackMs = 0;     // ms to open; 0 acts as 1
    uint32_t releaseMs = 0;    // ms to close; 0 acts as 1
};
#pragma pack(pop)
static_assert(sizeof(NoiseGateParameters) == 12);
static_assert(offsetof(NoiseGateParameters, attackMs) == 4);
static_assert(offsetof(NoiseGateParameters, releaseMs) == 8);

// Every frame gets one gain, keyed by its largest sample (dynamics/linked_gain.h). The gate is that
// of dynamics::SimpleGate, which is a member: a block never lacks it. It starts closed, with a
// threshold of 0 dB until it has parameters.
//
// Parameters act from the next frame. The envelope survives parameters, formats and Reset.
class NoiseGateBlock final : public AudioBlock {
  public:
    explicit NoiseGateBlock(const GUID& instanceId);

    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes NoiseGateParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME { gate.ResetRuntime(); }

  private:
    dynamics::SimpleGate gate;
};

}  // namespace quorvel
