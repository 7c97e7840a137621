// What is wrong in a graph that could be built: blocks that do nothing, or not what was meant.
#pragma once

#include <string>
#include <vector>

#include "authoring/check/chain_check.h"
#include "engine/audio_graph.h"

namespace quorvel::tool {

// For a graph of the chain with its formats set:
//   a fold-down that has no routine for its speakers, the graph's own in front of the output too
//   an extractor of a channel that its input does not have
//   a combiner with a channel that no input feeds, with fewer offsets than inputs, or whose inputs
//   overlap
//   an expander that is asked to narrow
//   a decoder or surround block that does not render its speakers
//   a sum that has to widen an input whose channels then belong to other speakers
// `names` are the blocks' names, one each. A fault of the graph's own blocks that no block of the
// chain stands for is told of the chain as a whole.
std::vector<ChainFault> FindGraphFaults(const AudioGraph& graph,
                                        const QuorvelAudioBlocksChain& chain,
                                        const std::vector<std::string>& names);

}  // namespace quorvel::tool
