#include "blocks/mixer_block.h"

#include "kinds/block_type_ids.h"

namespace quorvel {

MixerBlock::MixerBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kMixerBlockTypeId;
}

}  // namespace quorvel
