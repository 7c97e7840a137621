#include "blocks/filter_blocks.h"

#include "kinds/block_type_ids.h"

namespace quorvel {

LowPassFilterBlock::LowPassFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::LowPass) {
    typeId = kLowPassFilterBlockTypeId;
}

HighPassFilterBlock::HighPassFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::HighPass) {
    typeId = kHighPassFilterBlockTypeId;
}

BandPassFilterBlock::BandPassFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::BandPass) {
    typeId = kBandPassFilterBlockTypeId;
}

NotchFilterBlock::NotchFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::Notch) {
    typeId = kNotchFilterBlockTypeId;
}

PeakingEQFilterBlock::PeakingEQFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::PeakingEQ) {
    typeId = kPeakingEQFilterBlockTypeId;
}

LowShelfFilterBlock::LowShelfFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::LowShelf) {
    typeId = kLowShelfFilterBlockTypeId;
}

HighShelfFilterBlock::HighShelfFilterBlock(const GUID& instanceId)
    : EQFilterBlock(instanceId, FilterType::HighShelf) {
    typeId = kHighShelfFilterBlockTypeId;
}

}  // namespace quorvel
