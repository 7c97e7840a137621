#include "blocks/channel_extractor_block.h"

#include <algorithm>

#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

ChannelExtractorBlock::ChannelExtractorBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kChannelExtractorBlockTypeId;
}

int32_t ChannelExtractorBlock::GetOutputChannels() const {
    return 1;
}

uint32_t ChannelExtractorBlock::GetChannelMask() const {
    return 0x4;
}

void ChannelExtractorBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (channelIndex < 0 || channelIndex >= GetInputChannels()) {
        std::fill_n(out, std::max(frames, 0), 0.0f);
        return;
    }
    ProcessFrames(in + channelIndex, out, frames,
                  [](const float* inSample, float* outSample) { *outSample = *inSample; });
}

bool ChannelExtractorBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(ChannelExtractorParameters)) return false;
    return SetParameters(data);
}

bool ChannelExtractorBlock::SetParameters(const void* record) {
    if (!record) return false;
    channelIndex = ReadRecord<ChannelExtractorParameters>(record).channelIndex;
    return true;
}

}  // namespace quorvel
