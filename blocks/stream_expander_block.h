// Widens a stream without mixing.
#pragma once

#include <cstddef>

#include "dsp/routing/stream_expansion.h"
#include "engine/audio_block.h"

namespace quorvel {

#pragma pack(push, 1)
struct StreamExpanderParameters {
    uint32_t targetChannels = 0;  // output width; 0 keeps the width of the input
    uint32_t monoMode = 0;        // how a mono input is spread:
                                  //   0  new channels are silent
                                  //   1  every channel gets the mono sample
                                  //   2  the first two get it at -3 dB, further ones are silent
};
#pragma pack(pop)
static_assert(sizeof(StreamExpanderParameters) == 8);
static_assert(offsetof(StreamExpanderParameters, monoMode) == 4);

// Copies the channels of the input and fills the new ones: with silence, or as `monoMode` says when
// the input is mono. For a mono input a mode above 2 keeps the expansion in use. It widens in
// place: `in` and `out` may be one buffer, large enough for the output.
//
// Bounds: a target width below the input's is not supported; the channels that fit are copied. A
// width of 2^31 channels or more is negative as a signed number, and nothing is written. Nor is
// anything before the first SetFormat or SetParameters, or of an input without channels (IsMute).
// Reset has nothing to clear.
class StreamExpanderBlock final : public AudioBlock {
  public:
    explicit StreamExpanderBlock(const GUID& instanceId);

    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;  // the target's default mask; the input's without one
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;

    // Takes a StreamExpanderParameters record. A new target width makes the owning graph, unless it
    // is suspended, configure all its blocks again before this returns.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

  private:
    void ChooseExpansion();

    ExpandFrame expand = nullptr;  // none until the first SetFormat or SetParameters
    uint32_t targetChannels = 0;
    uint32_t targetMask = 0;  // default mask of targetChannels
    uint32_t monoMode = 0;
};

}  // namespace quorvel
