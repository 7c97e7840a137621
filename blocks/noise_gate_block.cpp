#include "blocks/noise_gate_block.h"

#include "dsp/dynamics/linked_gain.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

NoiseGateBlock::NoiseGateBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kNoiseGateBlockTypeId;
    StartAfreshByClearing<NoiseGateBlock>();
}

void NoiseGateBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    gate.SetSampleRate(rate);
}

void NoiseGateBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    dynamics::ProcessLinked(gate, in, out, frames, GetInputChannels());
}

bool NoiseGateBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(NoiseGateParameters)) return false;
    return SetParameters(data);
}

bool NoiseGateBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto parameters = ReadRecord<NoiseGateParameters>(record);
    gate.SetThreshold(parameters.thresholdDb);
    gate.SetAttack(parameters.attackMs);
    gate.SetRelease(parameters.releaseMs);
    return true;
}

}  // namespace quorvel
