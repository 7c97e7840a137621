// Whether a graph can be made of a chain, and why not.
#pragma once

#include <string>
#include <vector>

#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

// The first fault that would leave something of the chain out of the graph or make the graph
// invalid, with the block and the reason; empty when there is none:
//   a block of unknown kind, without id, with an id met before, or that refuses its record;
//   a link whose end is not in the chain;
//   a cycle;
//   several blocks that end the chain without one common beginning (a block left unconnected is
//   such an end).
// `names` are the blocks' names, one each.
std::string FindChainFault(const QuorvelAudioBlocksChain& chain,
                           const std::vector<std::string>& names);

}  // namespace quorvel::tool
