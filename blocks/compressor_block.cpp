#include "blocks/compressor_block.h"

#include "dsp/dynamics/linked_gain.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

CompressorBlock::CompressorBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kCompressorBlockTypeId;
    StartAfreshByClearing<CompressorBlock>();
}

void CompressorBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    compressor.SetSampleRate(rate);
}

void CompressorBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    dynamics::ProcessLinked(compressor, in, out, frames, GetInputChannels());
}

bool CompressorBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(CompressorParameters)) return false;
    return SetParameters(data);
}

bool CompressorBlock::SetParameters(const void* record) {
    if (!record) return false;
    const auto parameters = ReadRecord<CompressorParameters>(record);
    compressor.SetThreshold(parameters.thresholdDb);
    compressor.SetRatio(parameters.ratio);
    compressor.SetAttack(parameters.attackMs);
    compressor.SetRelease(parameters.releaseMs);
    return true;
}

}  // namespace quorvel
