// The blocks of a graph in the order in which they run, with the buffers between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "engine/block_network.h"
#include "engine/buffer_pool.h"
#include "engine/graph_node.h"

namespace quorvel {

class ProcessingList {
  public:
    enum class Outcome {
        kOrdered,
        kCycle,        // a block feeds itself, directly or through others
        kOutOfMemory,  // an intermediate buffer could not be had
    };

    // Appends `root` behind everything upstream of it (a depth-first walk along the inputs, in link
    // order) and gives each block that feeds others a buffer of 10 ms at `rate` Hz from `pool`: its
    // input's own buffer where it is the only reader and can work in place, else a free one. Blocks
    // that stand in the list already stay where they are and get a buffer if they lack one and now
    // need it. The walk keeps its path on the heap: chains may be as long as memory allows. Unless
    // the outcome is kOrdered the list is not usable and must be released.
    Outcome Visit(const BlockReference& root, BufferPool& pool, uint32_t rate);

    // Drops every node and gives its buffers back to the pool.
    void Release();

    // Drops the last node; the buffers stay with whoever else uses them.
    void DropLast();

    // The node of a block in the list; null when it has none.
    GraphNode* Find(const AudioBlock* block);

    const std::vector<GraphNode>& Nodes() const { return nodes; }
    std::vector<GraphNode>& Nodes() { return nodes; }

  private:
    class Walk;  // the state of one Visit

    std::vector<GraphNode> nodes;
    std::unordered_map<const AudioBlock*, std::size_t> indexOf;
};

// Frames in 10 ms at `rate` Hz, which every intermediate buffer has room for.
constexpr int32_t PlannedFrames(uint32_t rate) {
    return static_cast<int32_t>(rate / 100.0);
}

}  // namespace quorvel
