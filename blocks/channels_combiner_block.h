// Lays several inputs side by side into one wider stream.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "dsp/routing/channel_layout.h"
#include "engine/audio_block.h"

namespace quorvel {

// `count` offsets follow the record without a gap: int32_t channelOffsets[count], entry i being the
// output channel at which input i starts, in the order of the block's inputs.
#pragma pack(push, 1)
struct ChannelsCombinerParameters {
    uint32_t count = 0;
};
#pragma pack(pop)
static_assert(sizeof(ChannelsCombinerParameters) == 4);

// Every output sample is 0.0 plus the samples of the inputs that lie on its channel, added in input
// order in single precision. An input without an offset starts at channel 0; an offset without an
// input does nothing.
//
// An input is left out, of the layout and of the sound, when its offset is negative, its width is
// negative, or it would end past channel INT32_MAX.
//
// The combined width is the highest end of an input. The output is that wide, but never narrower
// than the width that the base class configured (the widest input, which may be one that is left
// out); frames are written at just that width, and channels that no input feeds are silent.
//
// Configuration allocates, processing does not. When a configuration cannot have its memory, the
// inputs are left out until the next one. Reset has nothing to clear.
class ChannelsCombinerBlock final : public AudioBlock {
  public:
    explicit ChannelsCombinerBlock(const GUID& instanceId);

    int32_t GetOutputChannels() const override;
    uint32_t GetChannelMask() const override;  // the default mask of the combined width
    void SetInputsFormat(const std::vector<BlockInput>& blockInputs, int32_t minWidth,
                         int32_t maxWidth, int32_t rate) override;
    void SetFormat(int32_t width, uint32_t mask, int32_t rate) override;
    void ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                       int32_t frames) QUORVEL_REAL_TIME override;

    // Places `in`, as wide as configured, at the first offset, if it ends within the output frame.
    // When `in` and `out` are one buffer, the input is added onto itself without clearing first. A
    // graph asks for that only when it runs in place itself and holds nothing but a combiner.
    void Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME override;
    bool CanProcessInPlace() const override;   // no
    bool WantsUniformInputs() const override;  // no: inputs come at their own widths

    // Takes a ChannelsCombinerParameters record with its offsets: at least 8 bytes, and all that
    // `count` announces. False, and the old offsets stay, also when memory cannot be had. A new
    // combined width makes the owning graph, unless it is suspended, configure all its blocks again
    // before this returns.
    bool SetParameterData(const void* data, uint32_t size) override;
    bool SetParameters(const void* record) override;

    // Whether every channel of the combined width is fed by some input. For information only.
    bool IsLayoutComplete() const { return layoutComplete; }

  private:
    // First output channel of input `index`.
    int32_t OffsetOf(std::size_t index) const;

    // Where input `index` lies, `width` channels wide, and whether it has a place at all.
    ChannelSpan SpanOf(std::size_t index, int32_t width) const;
    static bool IsPlaced(const ChannelSpan& span);

    // How many inputs from `first` on, none past `end`, can be moved together because they are
    // narrow neighbours: 4 or 2 mono ones, 2 stereo ones, else 1.
    std::size_t RunAt(std::size_t first, std::size_t end) const;

    // Writes or adds a run of inputs, the first of which is input `first`.
    void PlaceRun(std::span<const BlockInput> run, std::size_t first, float* out,
                  int32_t frames) QUORVEL_REAL_TIME;

    // Forgets the widths of the inputs and makes room for `count`. False when it cannot be had.
    bool ReserveInputs(std::size_t count);

    void UpdateLayout();

    std::vector<int32_t> channelOffsets;  // of input i, in output channels
    std::vector<int32_t> inputWidths;     // of input i, in channels; learned at configuration
    int32_t combinedChannels = 0;
    uint32_t combinedMask = 0;
    bool layoutComplete = false;
    bool layoutDisjoint = false;     // no two inputs share a channel
    std::vector<ChannelSpan> spans;  // scratch of UpdateLayout, as roomy as inputWidths
};

}  // namespace quorvel
