#include "engine/mixer_block.h"

#include "engine/block_type_ids.h"

namespace quorvel {

MixerBlock::MixerBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kMixerBlockTypeId;
}

}  // namespace quorvel
