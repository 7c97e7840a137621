// The build: from blocks and links to the processing list.
#include <new>

#include "base/guid_order.h"
#include "engine/audio_graph.h"
#include "engine/block_factory.h"
#include "engine/common_source.h"
#include "engine/scoped_flag.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

// A block with a fresh id. Should the generator give the null id, which asks the factory for
// another one, a plain pass-through stands in for the block.
BlockReference CreateWithFreshId(const void* record, const GUID& typeId) {
    GUID id;
    const RPC_STATUS status = UuidCreate(&id);
    if (status != RPC_S_OK && status != RPC_S_UUID_LOCAL_ONLY) return {};
    if (!(id == kNullGuid)) return CreateBlockWithParameters(record, typeId, id);
    auto plain = std::make_shared<AudioBlock>(id);
    plain->SetParameters(record);
    return plain;
}

}  // namespace

void AudioGraph::Rebuild() {
    if (suspended) return;
    const ScopedFlag hold(suspended);
    Build();
    Reconfigure();
}

void AudioGraph::Build() {
    ReleaseList();
    isTooWide = false;
    valid = network.Blocks().empty();
    if (valid) return;
    try {
        const BlockReference finalBlock = JoinTails();
        valid = finalBlock && OrderFrom(finalBlock) == ProcessingList::Outcome::kOrdered &&
                processingList.Nodes().size() == network.Blocks().size();
        if (valid) outputBlock = finalBlock;
    } catch (const std::bad_alloc&) {
        NoteMemoryShortage();
        valid = false;
    }
    if (!valid) processingList.Release();
}

// Forgets everything that the last build made.
void AudioGraph::ReleaseList() {
    processingList.Release();
    network.RemoveInternal();
    adapterBlock.reset();
    outputBlock.reset();
}

ProcessingList::Outcome AudioGraph::OrderFrom(const BlockReference& finalBlock) {
    return processingList.Visit(finalBlock, bufferPool, ProcessingRate());
}

// The block that ends the chain: the only tail, or a mixer behind all of them. Empty when there is
// no tail, or when the tails have no source in common.
BlockReference AudioGraph::JoinTails() {
    const BlockNetwork::BlockSet& tails = network.Tails();
    if (tails.empty()) return {};
    if (tails.size() == 1) return *tails.begin();
    if (!HaveCommonSource(tails)) return {};
    const BlockReference mixer = CreateInternalBlock(nullptr, kMixerBlockTypeId);
    if (!mixer) return {};
    for (const auto& tail : tails)
        network.Link(tail, mixer);
    return mixer;
}

BlockReference AudioGraph::CreateInternalBlock(const void* record, const GUID& typeId) {
    const BlockReference block = CreateWithFreshId(record, typeId);
    return network.AddInternal(block) ? block : BlockReference{};
}

}  // namespace quorvel
