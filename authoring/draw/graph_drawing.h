// A processing chain as a drawing for Graphviz.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/audio_graph.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

// The graph, which is built from the chain and has its formats, in the DOT language: from top to
// bottom its input, the blocks with their number in the processing order, name, kind and the buffer
// that each writes, and its output. Links have their width and speakers, and the number of the
// input where a block has several; heavy ones run in place, in the buffer of the block before. What
// the graph made itself is dashed: sums, adapters of widths, widening of an input in its buffer,
// and the compressor above full scale.
std::string DrawGraph(const AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                      const std::vector<std::string>& names,
                      const std::vector<std::string>& titleLines);

}  // namespace quorvel::tool
