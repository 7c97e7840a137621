// Numbers in records that are none.
#pragma once

#include <vector>

#include "authoring/check/chain_check.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

// Every floating-point parameter of the chain's blocks that is infinite or not a number: what comes
// out is neither sound. Items of lists, the bands of filters, have a check of their own.
std::vector<ChainFault> FindNumberFaults(const QuorvelAudioBlocksChain& chain);

}  // namespace quorvel::tool
