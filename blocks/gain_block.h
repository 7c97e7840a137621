// Scales every sample by one factor.
#pragma once

#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct GainParameters {
    float gainDb = 0.0f;  // dB; any value, NaN included, is taken as it comes
};
#pragma pack(pop)
static_assert(sizeof(GainParameters) == 4);

// out = gain * in, sample by sample in single precision, at any width; in place or not. A new gain
// holds from the next buffer on, without a ramp. Reset has nothing to clear.
class GainBlock final : public AudioBlock {
  public:
    explicit GainBlock(const GUID& instanceId);

    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes a GainParameters record.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

  private:
    float gain = 1.0f;  // linear
};

}  // namespace quorvel
