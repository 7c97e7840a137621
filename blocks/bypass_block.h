// Folds a multichannel stream down to mono or stereo.
#pragma once

#include "dsp/routing/fold_down.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct BypassParameters {
    uint32_t outputChannelCount = 2;  // output width; only 1 and 2 have routines
};
#pragma pack(pop)
static_assert(sizeof(BypassParameters) == 4);

// The routine is chosen at configuration, by the speaker mask of the input and the output width
// (dsp/routing/fold_down.h). Per buffer:
//
//   no routine                    nothing is written, `out` stays as it was; IsMute
//   output as wide as the input   the samples pass unchanged
//   else                          every frame is folded
//
// A mask may claim more speakers than the input has channels. Folding would then read past the
// frame, so nothing is written, as without a routine. `in` and `out` may be one buffer.
// Reset has nothing to clear.
class BypassBlock final : public AudioBlock {
  public:
    explicit BypassBlock(const GUID& instanceId);

    int32_t GetInputChannels() const override;
    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;  // the default mask of the output width
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes a BypassParameters record. A new width makes the owning graph, unless it is suspended,
    // configure all its blocks again before this returns.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

  private:
    void SelectDownmix();

    const FoldDown* downmix = nullptr;  // null: no routine
    uint32_t outputChannelCount = 2;
    uint32_t outputChannelMask = 0x3;
};

}  // namespace quorvel
