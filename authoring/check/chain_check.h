// Whether a graph can be made of a chain, and why not.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/guid_order.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

struct ChainFault {
    std::string what{};    // the reason, with the other blocks concerned
    std::string advice{};  // what to do; empty where that is not clear
    std::optional<std::size_t>
        block{};                        // the block or the link at fault, by position; neither: the
    std::optional<std::size_t> link{};  // chain as a whole

    // "block "name": what", "link 1: what" or "what".
    std::string Text(const std::vector<std::string>& names) const;
};

// What of a chain could not be read. Faults that may only follow from it are not told.
struct ChainGaps {
    std::set<GUID, GuidLess> withoutKind{};  // blocks whose kind is unknown
    std::set<GUID, GuidLess> linked{};       // blocks that a link that is missing may have linked
    bool lacksLinks = false;                 // links are missing
    bool mayLinkAny = false;                 // one of them may have linked any block
};

// Every fault that would leave something of the chain out of the graph or make the graph invalid:
//   more blocks or links than a processing object takes;
//   a block of unknown kind, without id, with an id met before, that refuses its record, or whose
//   record goes beyond a limit (engine/limits.h);
//   a link whose end is not in the chain;
//   cycles, each with its blocks in order;
//   a block that is not linked to any other of the chain;
//   several blocks that end the chain without one common beginning.
// `names` are the blocks' names, one each. What follows from a fault is not told beside it: a block
// does not count as loose when a link that names it has a fault.
std::vector<ChainFault> FindChainFaults(const QuorvelAudioBlocksChain& chain,
                                        const std::vector<std::string>& names,
                                        const ChainGaps& gaps = {});

// The text of the first one; empty when there is none.
std::string FindChainFault(const QuorvelAudioBlocksChain& chain,
                           const std::vector<std::string>& names);

}  // namespace quorvel::tool
