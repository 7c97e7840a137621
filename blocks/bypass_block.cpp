#include "blocks/bypass_block.h"

#include "base/channel_masks.h"
#include "engine/parameter_record.h"
#include "engine/width_adapter.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

// The engine fills this record in for its width adapters under a name of its own.
static_assert(sizeof(NarrowRecord) == sizeof(BypassParameters));

BypassBlock::BypassBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kBypassBlockTypeId;
}

int32_t BypassBlock::GetInputChannels() const {
    return static_cast<int32_t>(channels);
}

int32_t BypassBlock::GetOutputChannels() const {
    return static_cast<int32_t>(outputChannelCount);
}

uint32_t BypassBlock::GetChannelMask() const {
    return outputChannelMask;
}

void BypassBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    SelectDownmix();
}

void BypassBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (!downmix) return;
    if (outputChannelCount == channels) {
        AudioBlock::Process(in, out, frames);
        return;
    }
    FoldFrames(*downmix, in, out, frames, channels);
}

bool BypassBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(BypassParameters)) return false;
    return SetParameters(data);
}

bool BypassBlock::SetParameters(const void* record) {
    if (!record) return false;
    const uint32_t width = ReadRecord<BypassParameters>(record).outputChannelCount;
    if (width != outputChannelCount) {
        outputChannelCount = width;
        outputChannelMask = DefaultChannelMask(width);
        AnnounceWidth();
    }
    SelectDownmix();
    return true;
}

void BypassBlock::SelectDownmix() {
    downmix = FindFoldDown(channelMask, outputChannelCount);
    const bool folds = downmix && outputChannelCount != channels;
    isMute = !downmix || (folds && GetInputChannels() < downmix->inputChannels);
}

}  // namespace quorvel
