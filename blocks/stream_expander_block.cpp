#include "blocks/stream_expander_block.h"

#include <array>

#include "base/channel_masks.h"
#include "engine/parameter_record.h"
#include "engine/width_adapter.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

// The engine fills this record in for its width adapters under a name of its own.
static_assert(sizeof(WidenRecord) == sizeof(StreamExpanderParameters));
static_assert(offsetof(WidenRecord, monoMode) == offsetof(StreamExpanderParameters, monoMode));
namespace {

// How a mono input is spread, by monoMode.
constexpr std::array<ExpandFrame, 3> kMonoExpansions = {ExpandZeroFill, ExpandMonoToAll,
                                                        ExpandMonoToStereo};

}  // namespace

StreamExpanderBlock::StreamExpanderBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kStreamExpanderBlockTypeId;
}

int32_t StreamExpanderBlock::GetOutputChannels() const {
    return static_cast<int32_t>(targetChannels ? targetChannels : channels);
}

uint32_t StreamExpanderBlock::GetChannelMask() const {
    return targetMask ? targetMask : channelMask;
}

void StreamExpanderBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    ChooseExpansion();
}

void StreamExpanderBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    const int32_t inWidth = GetInputChannels();
    const int32_t outWidth = GetOutputChannels();
    if (!expand || (outWidth == inWidth && out == in)) return;
    ExpandFrames(expand, in, out, frames, inWidth, outWidth);
}

bool StreamExpanderBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(StreamExpanderParameters)) return false;
    return SetParameters(data);
}

bool StreamExpanderBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto parameters = ReadRecord<StreamExpanderParameters>(record);
    monoMode = parameters.monoMode;
    if (parameters.targetChannels != targetChannels) {
        targetChannels = parameters.targetChannels;
        targetMask = DefaultChannelMask(targetChannels);
        AnnounceWidth();
    }
    ChooseExpansion();
    return true;
}

void StreamExpanderBlock::ChooseExpansion() {
    isMute = channels == 0;
    if (channels != 1) {
        expand = ExpandZeroFill;
    } else if (monoMode < kMonoExpansions.size()) {
        expand = kMonoExpansions[monoMode];
    }
}

}  // namespace quorvel
