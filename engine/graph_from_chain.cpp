#include "engine/graph_from_chain.h"

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel {

void BuildGraphFromChain(AudioGraph& graph, const QuorvelAudioBlocksChain* chain) {
    graph.SetUpdating(true);
    graph.Clear(false);
    if (chain) {
        for (unsigned i = 0; i < chain->blocks.Count(); ++i) {
            const QuorvelAudioBlock& block = chain->blocks.Item(i);
            graph.AddNewBlock(block.typeId, block.data, block.dataSize, block.id);
        }
        for (unsigned i = 0; i < chain->links.Count(); ++i) {
            const _QuorvelAudioBlockLink& link = chain->links.Item(i);
            graph.LinkById(link.sourceBlockId, link.destinationBlockId);
        }
    }
    graph.SetUpdating(false);
}

}  // namespace quorvel
