// Blocks and links: every change ends in one rebuild unless the graph is suspended.
#include <algorithm>

#include "engine/audio_graph.h"
#include "engine/block_factory.h"

namespace quorvel {

AudioGraph::AudioGraph() {
    suspended = true;
    Clear(true);
    suspended = false;
}

AudioGraph::~AudioGraph() {
    processingList.Release();
}

void AudioGraph::Clear(bool resetFormats) {
    processingList.Release();
    outputBlock.reset();
    adapterBlock.reset();
    network.Clear();
    lastActiveMask = 0;
    detector.Reset();
    if (resetFormats) {
        inputFormat = {};
        processingFormat = {};
        outputFormat = {};
        bufferPool.Clear();
        conversionBuffer.Release();
        mixBuffer.Release();
    }
    Rebuild();
}

void AudioGraph::SetUpdating(bool updating) {
    suspended = updating;
    Rebuild();
}

BlockReference AudioGraph::AddNewBlock(const GUID& typeId, const void* data, uint32_t size,
                                       const GUID& id) {
    auto block = CreateBlockWithData(typeId, data, size, id);
    return AddBlockAndConnect(block) ? block : BlockReference{};
}

BlockReference AudioGraph::AddNewBlockWithParameters(const void* record, const GUID& typeId,
                                                     const GUID& id) {
    auto block = CreateBlockWithParameters(record, typeId, id);
    return AddBlockAndConnect(block) ? block : BlockReference{};
}

BlockReference AudioGraph::AppendNewBlockWithParameters(const void* record, const GUID& typeId,
                                                        const GUID& id,
                                                        const BlockReference& after) {
    const auto block = CreateBlockWithParameters(record, typeId, id);
    if (!block) return {};
    AppendBlock(block, after);
    return FindBlock(block->GetId());
}

bool AudioGraph::AddBlock(const BlockReference& block) {
    return network.Add(block);
}

bool AudioGraph::AddBlockAndConnect(const BlockReference& block) {
    if (!network.Add(block)) return false;
    network.UpdateEnds(block);
    Rebuild();
    return true;
}

void AudioGraph::AppendBlock(const BlockReference& block, const BlockReference& after) {
    if (!block) return;
    BlockReference source = after ? FindBlock(after->GetId()) : BlockReference{};
    if (after && !source) return;
    BlockReference appended = FindBlock(block->GetId());
    if (!appended) {
        network.Add(block);
        appended = block;
    }
    if (!source && !network.Tails().empty()) source = *network.Tails().begin();
    if (source) {
        network.RemoveInternal();
        network.Link(source, appended);
    }
    network.UpdateEnds(appended);
    Rebuild();
}

BlockReference AudioGraph::FindBlock(const GUID& id) const {
    return network.Find(id);
}

bool AudioGraph::Link(const BlockReference& source, const BlockReference& destination) {
    return network.Link(source, destination);
}

bool AudioGraph::LinkBlocks(const BlockReference& source, const BlockReference& destination) {
    if (!network.Link(source, destination)) return false;
    Rebuild();
    return true;
}

void AudioGraph::LinkById(const GUID& sourceId, const GUID& destinationId) {
    const auto source = FindBlock(sourceId);
    const auto destination = FindBlock(destinationId);
    if (source && destination) LinkBlocks(source, destination);
}

bool AudioGraph::Unlink(const BlockReference& source, const BlockReference& destination) {
    if (!network.Unlink(source, destination)) return false;
    Rebuild();
    return true;
}

void AudioGraph::UnlinkById(const GUID& sourceId, const GUID& destinationId) {
    const auto source = FindBlock(sourceId);
    const auto destination = FindBlock(destinationId);
    if (source && destination) Unlink(source, destination);
}

bool AudioGraph::RemoveBlock(const BlockReference& block) {
    if (!network.Remove(block)) return false;
    Rebuild();
    return true;
}

void AudioGraph::RemoveBlockById(const GUID& id) {
    RemoveBlock(FindBlock(id));
}

int32_t AudioGraph::GetBlockIds(GUID* out, int32_t max) const {
    if (!out || max < 0) return 0;
    const auto count = static_cast<int32_t>(network.Blocks().size() - network.InternalCount());
    const int32_t returned = std::min(max, count);
    int32_t index = 0;
    for (const auto& [id, block] : network.Blocks()) {
        if (block->isInternal) continue;
        if (index > returned) break;
        out[index++] = id;
    }
    return returned;
}

}  // namespace quorvel
