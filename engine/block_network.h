// The blocks of a graph and the links between them: structure without build order.
//
// Not thread-safe; the owner of the graph serialises every call. Allocates, so it belongs on
// control threads; the real-time thread comes here only when a width switch makes or drops an
// adapter. Out of memory, a call throws std::bad_alloc and leaves the two sides of every link
// agreeing.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "base/guid_order.h"
#include "engine/audio_block.h"

namespace quorvel {

using BlockReference = std::shared_ptr<AudioBlock>;

// Orders blocks by their ids, so that sets of blocks iterate alike from run to run.
struct BlockIdLess {
    bool operator()(const BlockReference& a, const BlockReference& b) const {
        return GuidLess{}(a->GetId(), b->GetId());
    }
};

class BlockNetwork {
  public:
    using BlockMap = std::map<GUID, BlockReference, GuidLess>;
    using BlockSet = std::set<BlockReference, BlockIdLess>;

    // `ownerGraph` is what the blocks' `graph` points to; it outlives the network.
    explicit BlockNetwork(AudioGraph* ownerGraph) : owner(ownerGraph) {}
    ~BlockNetwork();
    BlockNetwork(const BlockNetwork&) = delete;
    BlockNetwork& operator=(const BlockNetwork&) = delete;

    // Forgets every block. Neighbours refer to each other in both directions, so the links are cut
    // first: otherwise the blocks would keep each other alive.
    void Clear();

    // Enters a block as one of the profile's, cutting links that it still has. False for an empty
    // reference and when its id is taken. The block must not sit in another network.
    bool Add(const BlockReference& block);

    // Enters a block that the graph made itself. It never becomes a head or a tail.
    bool AddInternal(const BlockReference& block);

    // Makes a profile block a head when nothing feeds it, and a tail when it feeds nothing or an
    // internal block first. Does nothing for an internal block.
    void UpdateEnds(const BlockReference& block);

    // Links and cuts links; the ends follow. False unless both blocks belong to the owner.
    bool Link(const BlockReference& source, const BlockReference& destination);
    bool Unlink(const BlockReference& source, const BlockReference& destination);

    // Cuts all links of a block and drops it. False unless it belongs to the owner and is here.
    bool Remove(const BlockReference& block);

    // Drops every internal block, in id order.
    void RemoveInternal();

    // Puts `block`, of the same id, in the place of `old`, which is here: between the same
    // neighbours, at the same places of their lists.
    void Replace(const BlockReference& old, const BlockReference& block);

    BlockReference Find(const GUID& id) const;

    // The whole structure, to go back to.
    struct Snapshot;
    Snapshot Save() const;
    void Restore(Snapshot& saved) noexcept;  // once

    const BlockMap& Blocks() const { return blocks; }
    const BlockSet& Heads() const { return heads; }  // profile blocks without upstream block
    const BlockSet& Tails() const { return tails; }  // profile blocks that end the chain
    std::size_t InternalCount() const { return internalCount; }

  private:
    bool Owns(const BlockReference& block) const { return block && block->graph == owner; }
    void Detach(const BlockReference& block);

    AudioGraph* owner;
    BlockMap blocks;
    BlockSet heads;
    BlockSet tails;
    std::size_t internalCount = 0;
};

struct BlockNetwork::Snapshot {
    struct Wiring {
        BlockReference block;
        std::vector<BlockReference> inputs;
        std::vector<BlockReference> outputs;
        bool isInternal = false;
    };

    BlockMap blocks;
    BlockSet heads;
    BlockSet tails;
    std::size_t internalCount = 0;
    std::vector<Wiring> wirings;
};

}  // namespace quorvel
