// A compressor for all channels together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dsp/dynamics/simple_comp.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct CompressorParameters {
    float thresholdDb = 0.0f;  // dB of full scale
    uint32_t attackMs = 0;     // ms; 0 acts as 1
    uint32_t releaseMs = 0;    // ms; 0 acts as 1
    float ratio = 0.0f;  // output slope above the threshold: 0.1 is 10 : 1; 0 and below act as 1
};
#pragma pack(pop)
static_assert(sizeof(CompressorParameters) == 16);
static_assert(offsetof(CompressorParameters, attackMs) == 4);
static_assert(offsetof(CompressorParameters, releaseMs) == 8);
static_assert(offsetof(CompressorParameters, ratio) == 12);

// Every frame gets one gain, keyed by its largest sample (dynamics/linked_gain.h), so that the
// stereo image stays. The curve is that of dynamics::SimpleComp, which is a member: a block never
// lacks its compressor. Without parameters (threshold 0 dB, ratio 1) audio passes unchanged.
//
// Parameters act from the next frame. The envelope survives parameters, formats and Reset.
class CompressorBlock final : public AudioBlock {
  public:
    explicit CompressorBlock(const GUID& instanceId);

    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes CompressorParameters. Any values are accepted.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // For StartAfresh.
    void ClearState() QUORVEL_REAL_TIME { compressor.ResetRuntime(); }

  private:
    dynamics::SimpleComp compressor;
};

}  // namespace quorvel
