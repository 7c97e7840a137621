// What is wrong in a graph that could be built: blocks that do nothing, or not what was meant.
#pragma once

#include <string>
#include <vector>

#include "engine/audio_graph.h"
#include "tools/chain_check.h"

namespace quorvel::tool {

// For a graph of the chain with its formats set:
//   a fold-down that has no routine for its speakers
//   a combiner with a channel that no input feeds
//   a filter bank that one unusable band bypasses, and a band above half the sample rate
//   an expander that is asked to narrow
//   a decoder or surround block that does not render its speakers
std::vector<ChainFault> FindGraphFaults(const AudioGraph& graph,
                                        const QuorvelAudioBlocksChain& chain);

}  // namespace quorvel::tool
