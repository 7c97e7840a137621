#include "blocks/gain_block.h"

#include "base/decibels.h"
#include "dsp/routing/sample_scaling.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {

GainBlock::GainBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kGainBlockTypeId;
}

void GainBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    ScaleSamples(in, out, int64_t{GetInputChannels()} * frames, gain);
}

bool GainBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(GainParameters)) return false;
    return SetParameters(data);
}

bool GainBlock::SetParameters(const void* record) {
    if (!record) return false;
    gain = DbToLinear(ReadRecord<GainParameters>(record).gainDb);
    return true;
}

}  // namespace quorvel
