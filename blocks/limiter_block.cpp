#include "blocks/limiter_block.h"

#include "dsp/dynamics/linked_gain.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

LimiterBlock::LimiterBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kLimiterBlockTypeId;
    StartAfreshByClearing<LimiterBlock>();
}

void LimiterBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    limiter.SetSampleRate(rate);
    limiter.SetChannelCount(channels);
}

void LimiterBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    isMute = !limiter.IsReady(channels);
    dynamics::ProcessLinked(limiter, in, out, frames, GetInputChannels());
}

bool LimiterBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(LimiterParameters)) return false;
    return SetParameters(data);
}

bool LimiterBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto parameters = ReadRecord<LimiterParameters>(record);
    limiter.SetThreshold(parameters.thresholdDb);
    limiter.SetAttack(parameters.attackMs);
    limiter.SetRelease(parameters.releaseMs);
    return true;
}

}  // namespace quorvel
