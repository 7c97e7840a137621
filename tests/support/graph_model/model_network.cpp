#include "tests/support/graph_model/model_network.h"

#include <algorithm>

namespace quorvel::model {
namespace {

bool Contains(const std::vector<BlockId>& ids, const BlockId& id) {
    return std::ranges::find(ids, id) != ids.end();
}

}  // namespace

bool Network::Add(const BlockId& id, BlockReference block) {
    return blocks.try_emplace(id, Entry{std::move(block), {}, {}}).second;
}

bool Network::Replace(const BlockId& id, BlockReference block) {
    if (!blocks.contains(id)) return false;
    blocks.at(id).block = std::move(block);
    return true;
}

BlockReference Network::Find(const BlockId& id) const {
    return blocks.contains(id) ? blocks.at(id).block : nullptr;
}

void Network::UpdateTail(const BlockId& id) {
    if (IsInternal(id)) return;
    const auto& outputs = blocks.at(id).outputs;
    if (outputs.empty() || IsInternal(outputs.front())) tails.insert(id);
}

bool Network::Link(const BlockId& source, const BlockId& destination) {
    if (!blocks.contains(source) || !blocks.contains(destination)) return false;
    auto& outputs = blocks.at(source).outputs;
    auto& inputs = blocks.at(destination).inputs;
    if (!Contains(outputs, destination)) outputs.push_back(destination);
    if (!Contains(inputs, source)) inputs.push_back(source);
    if (!IsInternal(destination)) tails.erase(source);
    return true;
}

bool Network::Unlink(const BlockId& source, const BlockId& destination) {
    if (!blocks.contains(source) || !blocks.contains(destination)) return false;
    std::erase(blocks.at(source).outputs, destination);
    std::erase(blocks.at(destination).inputs, source);
    if (blocks.at(source).outputs.empty() && !IsInternal(source)) tails.insert(source);
    return true;
}

bool Network::Remove(const BlockId& id) {
    if (!blocks.contains(id)) return false;
    const Entry removed = blocks.at(id);
    blocks.erase(id);
    tails.erase(id);
    for (auto& [other, entry] : blocks) {
        std::erase(entry.inputs, id);
        std::erase(entry.outputs, id);
    }
    for (const BlockId& source : removed.inputs) {
        if (source != id) UpdateTail(source);
    }
    return true;
}

void Network::RemoveInternal() {
    Remove(kMixerId);
    Remove(kAdapterId);
}

// From every tail the walk along the first inputs must end in one and the same block.
bool Network::TailsShareTheirSource() const {
    std::set<BlockId> sources;
    for (BlockId id : tails) {
        std::set<BlockId> met;
        while (!blocks.at(id).inputs.empty()) {
            if (!met.insert(id).second) return false;
            id = blocks.at(id).inputs.front();
        }
        sources.insert(id);
    }
    return sources.size() == 1;
}

struct Network::Walk {
    std::vector<BlockId> order;
    std::set<BlockId> path;
    std::set<BlockId> visited;
    bool metCycle = false;
};

void Network::Visit(const BlockId& id, Walk& walk) const {
    walk.visited.insert(id);
    if (walk.path.contains(id)) walk.metCycle = true;
    if (walk.metCycle || Contains(walk.order, id)) return;
    walk.path.insert(id);
    for (const BlockId& source : blocks.at(id).inputs)
        Visit(source, walk);
    walk.path.erase(id);
    walk.order.push_back(id);
}

bool Network::Build(std::vector<BlockId>& order) {
    RemoveInternal();
    order.clear();
    if (tails.empty()) return blocks.empty();
    BlockId last = *tails.begin();
    if (tails.size() > 1) {
        if (!TailsShareTheirSource()) return false;
        Add(kMixerId, std::make_shared<AudioBlock>(kInternalId));
        for (const BlockId& tail : std::set(tails))
            Link(tail, kMixerId);
        last = kMixerId;
    }
    Walk walk;
    Visit(last, walk);
    if (walk.metCycle || walk.visited.size() != blocks.size()) return false;
    order = std::move(walk.order);
    return true;
}

}  // namespace quorvel::model
