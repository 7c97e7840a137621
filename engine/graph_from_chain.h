// The graph of a profile's chain.
#pragma once

#include "engine/audio_graph.h"

class QuorvelAudioBlock;
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
// The limits (engine/limits.h) are kept: of a longer chain the first blocks and links are taken, a
// record beyond a limit counts as refused, and the graph is invalid while a block, or all together,
// are wider than the limits, whatever they owe that to.
//
// Later changes of the chain go to the graph itself: AddChainBlock; FindBlock and SetParameterData,
// for a record within the limits; RemoveBlockById, LinkById, UnlinkById.
void BuildGraphFromChain(AudioGraph& graph, const QuorvelAudioBlocksChain* chain);

// Adds one block of a chain, connects it and rebuilds, as AudioGraph::AddNewBlock does. A record
// beyond a limit counts as refused: the block has its defaults.
void AddChainBlock(AudioGraph& graph, const QuorvelAudioBlock& block);

}  // namespace quorvel
