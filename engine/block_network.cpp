#include "engine/block_network.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quorvel {
namespace {

using BlockList = std::vector<BlockReference>;

bool Contains(const BlockList& list, const BlockReference& block) {
    return std::ranges::find(list, block) != list.end();
}

// A link stands in the lists of both its ends, so the shorter list answers: a block that feeds
// very many others costs no more per link than one that feeds a single one.
bool AreLinked(const AudioBlock& source, const BlockReference& destination,
               const BlockReference& sourceReference) {
    return source.outputs.size() < destination->inputs.size()
               ? Contains(source.outputs, destination)
               : Contains(destination->inputs, sourceReference);
}

bool FeedsInternalFirst(const AudioBlock& block) {
    return !block.outputs.empty() && block.outputs.front()->isInternal;
}

}  // namespace

BlockNetwork::~BlockNetwork() {
    Clear();
}

void BlockNetwork::Clear() {
    heads.clear();
    tails.clear();
    for (const auto& [id, block] : blocks) {
        if (!Owns(block)) continue;
        block->inputs.clear();
        block->outputs.clear();
        block->graph = nullptr;
    }
    blocks.clear();
    internalCount = 0;
}

bool BlockNetwork::Add(const BlockReference& block) {
    if (!block || !blocks.try_emplace(block->GetId(), block).second) return false;
    Detach(block);
    block->graph = owner;
    block->isInternal = false;
    return true;
}

bool BlockNetwork::AddInternal(const BlockReference& block) {
    if (!Add(block)) return false;
    block->isInternal = true;
    ++internalCount;
    return true;
}

void BlockNetwork::UpdateEnds(const BlockReference& block) {
    if (block->isInternal) return;
    if (block->inputs.empty()) heads.insert(block);
    if (block->outputs.empty() || FeedsInternalFirst(*block)) tails.insert(block);
}

bool BlockNetwork::Link(const BlockReference& source, const BlockReference& destination) {
    if (!Owns(source) || !Owns(destination)) return false;
    if (!AreLinked(*source, destination, source)) {
        source->outputs.push_back(destination);
        try {
            destination->inputs.push_back(source);
        } catch (...) {  // the two lists must agree, whatever happens
            source->outputs.pop_back();
            throw;
        }
    }
    if (!destination->isInternal) {
        tails.erase(source);
        heads.erase(destination);
    }
    return true;
}

bool BlockNetwork::Unlink(const BlockReference& source, const BlockReference& destination) {
    if (!Owns(source) || !Owns(destination)) return false;
    std::erase(source->outputs, destination);
    std::erase(destination->inputs, source);
    if (source->outputs.empty() && !source->isInternal) tails.insert(source);
    if (destination->inputs.empty() && !destination->isInternal) heads.insert(destination);
    return true;
}

bool BlockNetwork::Remove(const BlockReference& block) {
    if (!Owns(block)) return false;
    const auto entry = blocks.find(block->GetId());
    if (entry == blocks.end() || entry->second != block) return false;
    const BlockReference kept = block;  // `block` may be the map's own reference
    blocks.erase(entry);
    if (kept->isInternal) --internalCount;
    Detach(kept);
    kept->graph = nullptr;
    return true;
}

void BlockNetwork::RemoveInternal() {
    if (internalCount == 0) return;
    BlockList internal;
    for (const auto& [id, block] : blocks) {
        if (block->isInternal) internal.push_back(block);
    }
    for (const auto& block : internal)
        Remove(block);
}

void BlockNetwork::Replace(const BlockReference& old, const BlockReference& block) {
    const BlockReference replaced = old;  // `old` may be the map's own reference
    // Nodes of the sets are taken over: nothing may fail half way.
    const auto replaceEnd = [&](BlockSet& ends) {
        auto node = ends.extract(replaced);
        if (node.empty()) return;
        node.value() = block;
        ends.insert(std::move(node));
    };
    replaceEnd(heads);
    replaceEnd(tails);
    blocks.find(block->GetId())->second = block;
    block->inputs = std::exchange(replaced->inputs, {});
    block->outputs = std::exchange(replaced->outputs, {});
    for (BlockList* const neighbours : {&block->inputs, &block->outputs})
        std::ranges::replace(*neighbours, replaced, block);  // a block may be linked to itself
    for (const auto& source : block->inputs)
        std::ranges::replace(source->outputs, replaced, block);
    for (const auto& destination : block->outputs)
        std::ranges::replace(destination->inputs, replaced, block);
    block->graph = owner;
    replaced->graph = nullptr;
}

BlockNetwork::Snapshot BlockNetwork::Save() const {
    Snapshot saved{blocks, heads, tails, internalCount, {}};
    saved.wirings.reserve(blocks.size());
    for (const auto& [id, block] : blocks)
        saved.wirings.push_back({block, block->inputs, block->outputs, block->isInternal});
    return saved;
}

void BlockNetwork::Restore(Snapshot& saved) noexcept {
    Clear();
    blocks.swap(saved.blocks);
    heads.swap(saved.heads);
    tails.swap(saved.tails);
    internalCount = saved.internalCount;
    for (Snapshot::Wiring& wiring : saved.wirings) {
        wiring.block->inputs.swap(wiring.inputs);
        wiring.block->outputs.swap(wiring.outputs);
        wiring.block->isInternal = wiring.isInternal;
        wiring.block->graph = owner;
    }
}

BlockReference BlockNetwork::Find(const GUID& id) const {
    const auto entry = blocks.find(id);
    return entry == blocks.end() ? BlockReference{} : entry->second;
}

void BlockNetwork::Detach(const BlockReference& block) {
    // Taken out first, so that a block linked to itself does not change the list being walked.
    const BlockList sources = std::exchange(block->inputs, {});
    const BlockList destinations = std::exchange(block->outputs, {});
    for (const auto& source : sources) {
        std::erase(source->outputs, block);
        if (Owns(source)) UpdateEnds(source);
    }
    for (const auto& destination : destinations) {
        std::erase(destination->inputs, block);
        if (Owns(destination)) UpdateEnds(destination);
    }
    heads.erase(block);
    tails.erase(block);
}

}  // namespace quorvel
