// The table of all block kinds.
#include <array>

#include "engine/block_factory.h"
#include "engine/block_type_ids.h"
#include "engine/mixer_block.h"

namespace quorvel {
namespace {

constexpr std::array kBlockKinds = {
    BlockKind{kMixerBlockTypeId, "MixerBlock", 0, CreateZeroed<MixerBlock>},
};

}  // namespace

std::span<const BlockKind> BlockKinds() {
    return kBlockKinds;
}

}  // namespace quorvel
