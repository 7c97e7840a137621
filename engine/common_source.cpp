#include "engine/common_source.h"

#include <unordered_map>
#include <vector>

namespace quorvel {
namespace {

// The source that each block's walk ends in; null while the walk is under way.
using SourceOfBlock = std::unordered_map<const AudioBlock*, const AudioBlock*>;

// The source of `tail`; null when its walk runs in a circle.
const AudioBlock* FindSource(const AudioBlock* tail, SourceOfBlock& sourceOf) {
    std::vector<const AudioBlock*> walked;
    const AudioBlock* block = tail;
    for (;; block = block->inputs.front().get()) {
        const auto [entry, isNew] = sourceOf.try_emplace(block, nullptr);
        if (!isNew && !entry->second) return nullptr;
        if (!isNew) block = entry->second;
        if (!isNew || block->inputs.empty()) break;
        walked.push_back(block);
    }
    sourceOf[block] = block;
    for (const AudioBlock* passed : walked)
        sourceOf[passed] = block;
    return block;
}

}  // namespace

bool HaveCommonSource(const BlockNetwork::BlockSet& tails) {
    SourceOfBlock sourceOf;
    const AudioBlock* common = nullptr;
    for (const auto& tail : tails) {
        const AudioBlock* source = FindSource(tail.get(), sourceOf);
        if (!source || (common && source != common)) return false;
        common = source;
    }
    return true;
}

}  // namespace quorvel
