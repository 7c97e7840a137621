// Whether several chain ends may be mixed.
#pragma once

#include "engine/block_network.h"

namespace quorvel {

// Walks upstream from each tail, always through the first input, to a block without inputs. True
// when every walk ends in the same block and none meets a block twice. Every block is walked once,
// however many tails share it.
bool HaveCommonSource(const BlockNetwork::BlockSet& tails);

}  // namespace quorvel
