// Sums its inputs.
#pragma once

#include "engine/audio_block.h"

namespace quorvel {

// The sum of its inputs is all that the base class does; this kind only gives it a name. It takes
// no parameters. The graph uses one to join several chain ends.
class MixerBlock final : public AudioBlock {
  public:
    explicit MixerBlock(const GUID& instanceId);
};

}  // namespace quorvel
