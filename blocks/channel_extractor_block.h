// Picks one channel out of a stream.
#pragma once

#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct ChannelExtractorParameters {
    int32_t channelIndex = 0;  // place in the input frame, 0 is the first channel
};
#pragma pack(pop)
static_assert(sizeof(ChannelExtractorParameters) == 4);

// The output is mono, front centre. An index that names no channel of the input, be it too high or
// negative, gives silence. `in` and `out` may be one buffer. A new index holds from the next buffer
// on. Reset has nothing to clear.
class ChannelExtractorBlock final : public AudioBlock {
  public:
    explicit ChannelExtractorBlock(const GUID& instanceId);

    int32_t GetOutputChannels() const override;  // 1
    uint32_t GetChannelMask() const override;    // 0x4, front centre
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes a ChannelExtractorParameters record.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

  private:
    int32_t channelIndex = 0;
};

}  // namespace quorvel
