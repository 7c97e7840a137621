// Blocks, links and chain ends of the model, and the order in which the blocks run.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "tests/support/graph_model/model_block.h"

namespace quorvel::model {

// The bytes of a GUID, which compare as the graph's ids do.
using BlockId = std::array<uint8_t, 16>;

inline BlockId IdOf(const GUID& guid) {
    return std::bit_cast<BlockId>(guid);
}

// The ids of the blocks that the graph makes itself; no profile may use them.
inline constexpr BlockId kMixerId = {0xFF, 0xFF, 1};
inline constexpr BlockId kAdapterId = {0xFF, 0xFF, 2};

// The same for every block that the model makes: it knows them by the ids above.
inline constexpr GUID kInternalId = {0xFFFFFFFF, 0, 0, {}};

inline bool IsInternal(const BlockId& id) {
    return id == kMixerId || id == kAdapterId;
}

class Network {
  public:
    struct Entry {
        BlockReference block;
        std::vector<BlockId> inputs, outputs;  // in link order
    };

    // Enters a block. False when its id is taken.
    bool Add(const BlockId& id, BlockReference block);

    // The block with that id; null when there is none.
    BlockReference Find(const BlockId& id) const;

    // Puts a block in the place of the one with that id. False when there is none.
    bool Replace(const BlockId& id, BlockReference block);

    // Makes a profile block a tail when it feeds nothing, or an internal block first.
    void UpdateTail(const BlockId& id);

    // False unless both blocks are here.
    bool Link(const BlockId& source, const BlockId& destination);
    bool Unlink(const BlockId& source, const BlockId& destination);

    // Cuts the links of a block and drops it. False when it is not here.
    bool Remove(const BlockId& id);
    void RemoveInternal();

    // Joins several tails with a mixer and orders the blocks. False when the chain is not valid;
    // `order` is empty then.
    bool Build(std::vector<BlockId>& order);

    const std::map<BlockId, Entry>& Blocks() const { return blocks; }
    const std::set<BlockId>& Tails() const { return tails; }

  private:
    struct Walk;
    bool TailsShareTheirSource() const;
    void Visit(const BlockId& id, Walk& walk) const;

    std::map<BlockId, Entry> blocks;
    std::set<BlockId> tails;
};

}  // namespace quorvel::model
