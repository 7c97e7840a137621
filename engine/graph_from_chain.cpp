#include "engine/graph_from_chain.h"

#include <algorithm>

#include "engine/limits.h"
#include "engine/record_limits.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel {

void BuildGraphFromChain(AudioGraph& graph, const QuorvelAudioBlocksChain* chain) {
    graph.SetUpdating(true);
    graph.Clear(false);
    graph.LimitWidths(limits::kMostChannels, limits::kMostChannelsTogether);
    if (chain) {
        const unsigned blocks = std::min(chain->blocks.Count(), limits::kMostBlocks);
        for (unsigned i = 0; i < blocks; ++i)
            AddChainBlock(graph, chain->blocks.Item(i));
        const unsigned links = std::min(chain->links.Count(), limits::kMostLinks);
        for (unsigned i = 0; i < links; ++i) {
            const _QuorvelAudioBlockLink& link = chain->links.Item(i);
            graph.LinkById(link.sourceBlockId, link.destinationBlockId);
        }
    }
    graph.SetUpdating(false);
}

void AddChainBlock(AudioGraph& graph, const QuorvelAudioBlock& block) {
    const bool isTaken = IsWithinLimits(block.typeId, block.data, block.dataSize);
    graph.AddNewBlock(block.typeId, isTaken ? block.data : nullptr, isTaken ? block.dataSize : 0,
                      block.id);
}

}  // namespace quorvel
