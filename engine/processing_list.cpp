#include "engine/processing_list.h"

#include <limits>
#include <utility>

namespace quorvel {
namespace {

// Stands for the index of a block that is on the way to its place.
constexpr std::size_t kOnPath = std::numeric_limits<std::size_t>::max();

}  // namespace

class ProcessingList::Walk {
  public:
    Walk(ProcessingList& processingList, BufferPool& pool, uint32_t rate)
        : list(processingList), planner(pool), frames(PlannedFrames(rate)) {}

    Outcome Run(const BlockReference& root) {
        if (!Enter(root)) return Outcome::kCycle;
        while (!path.empty()) {
            Step& step = path.back();
            if (step.inputs.size() == step.block->inputs.size()) {
                if (!Leave()) return Outcome::kOutOfMemory;
            } else if (!Follow(step.block->inputs[step.inputs.size()])) {
                return failure;
            }
        }
        return Outcome::kOrdered;
    }

  private:
    // A block on the way, with the inputs that are ordered so far.
    struct Step {
        BlockReference block;
        std::vector<BlockInput> inputs;
    };

    // False when the block is on the path already.
    bool Enter(const BlockReference& block) {
        if (!list.indexOf.try_emplace(block.get(), kOnPath).second) return false;
        path.push_back({block, {}});
        path.back().inputs.reserve(block->inputs.size());
        return true;
    }

    // Goes up to `source`, or takes it as the next input when it is ordered already.
    bool Follow(const BlockReference& source) {
        GraphNode* node = list.Find(source.get());
        if (node) {
            failure = Outcome::kOutOfMemory;
            return GiveBuffer(*node) && Feed(source, node->outBuffer);
        }
        failure = Outcome::kCycle;
        return Enter(source);
    }

    bool Feed(const BlockReference& source, AudioBuffer* buffer) {
        path.back().inputs.push_back({source, buffer, {}});
        ++buffer->users;
        return true;
    }

    // Appends the last block of the path, all of whose inputs are ordered.
    bool Leave() {
        Step step = std::move(path.back());
        path.pop_back();
        list.indexOf[step.block.get()] = list.nodes.size();
        GraphNode& node = list.nodes.emplace_back();
        node.block = std::move(step.block);
        node.inputs = std::move(step.inputs);
        if (!GiveBuffer(node)) return false;
        return path.empty() || Feed(node.block, node.outBuffer);
    }

    // Only a block that feeds nothing goes without a buffer. False when there is no memory.
    bool GiveBuffer(GraphNode& node) {
        if (node.outBuffer || node.block->outputs.empty()) return true;
        const int32_t width = node.block->GetOutputChannels();
        const int32_t planned = width == 0 ? 2 : width;
        if (!ShareInputBuffer(node, planned)) {
            node.outBuffer = planner.AcquireBuffer(frames, planned);
        }
        return node.outBuffer != nullptr;
    }

    bool ShareInputBuffer(GraphNode& node, int32_t width) {
        if (node.inputs.size() != 1) return false;
        const BlockInput& input = node.inputs.front();
        if (input.source->outputs.size() != 1 || !node.block->CanProcessInPlace()) return false;
        if (!input.buffer->Grow(BufferBytes(frames, width))) return false;
        node.outBuffer = input.buffer;
        ++node.outBuffer->users;
        return true;
    }

    ProcessingList& list;
    BufferPlanner planner;
    int32_t frames;
    Outcome failure = Outcome::kCycle;
    std::vector<Step> path;
};

ProcessingList::Outcome ProcessingList::Visit(const BlockReference& root, BufferPool& pool,
                                              uint32_t rate) {
    return Walk(*this, pool, rate).Run(root);
}

void ProcessingList::Release() {
    for (GraphNode& node : nodes) {
        if (node.outBuffer) node.outBuffer->users = 0;
        for (BlockInput& input : node.inputs)
            input.buffer->users = 0;
    }
    nodes.clear();
    indexOf.clear();
}

void ProcessingList::DropLast() {
    indexOf.erase(nodes.back().block.get());
    nodes.pop_back();
}

GraphNode* ProcessingList::Find(const AudioBlock* block) {
    const auto entry = indexOf.find(block);
    const bool isOrdered = entry != indexOf.end() && entry->second != kOnPath;
    return isOrdered ? &nodes[entry->second] : nullptr;
}

}  // namespace quorvel
