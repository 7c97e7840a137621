// The graph of a profile's chain.
#pragma once

#include "engine/audio_graph.h"

class QuorvelAudioBlocksChain;

namespace quorvel {

// Replaces the blocks and links of `graph` by those of `chain`, in list order, all blocks before
// any link, and builds once. The graph keeps its formats and pooled buffers. A null chain leaves
// the graph empty: it passes its input through.
//
// A block of unknown kind, or whose id was met before, is left out; a refused record leaves a block
// with its defaults; a link that names a missing block is left out. What remains may be invalid,
// see AudioGraph::IsValid.
//
// Later changes of the chain go to the graph itself: AddNewBlock, FindBlock and SetParameterData,
// RemoveBlockById, LinkById, UnlinkById.
void BuildGraphFromChain(AudioGraph& graph, const QuorvelAudioBlocksChain* chain);

}  // namespace quorvel
