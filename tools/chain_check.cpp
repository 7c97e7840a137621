#include "tools/chain_check.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "engine/block_factory.h"
#include "engine/guid_order.h"
#include "profile/quorvel_audio_block.h"
#include "tools/guid_text.h"
#include "tools/json_place.h"

namespace quorvel::tool {
namespace {

constexpr std::size_t kMostNamesTold = 8;

// The blocks of a chain by position, and who feeds whom, each link once.
class ChainGraph {
  public:
    ChainGraph(const QuorvelAudioBlocksChain& chainToCheck,
               const std::vector<std::string>& blockNames)
        : chain(chainToCheck),
          names(blockNames),
          upstream(chain.blocks.Count()),
          downstream(chain.blocks.Count()) {}

    std::string FindFault() {
        std::string fault = BlockFault();
        if (fault.empty()) fault = LinkFault();
        if (fault.empty()) fault = CycleFault();
        if (fault.empty()) fault = EndsFault();
        return fault;
    }

  private:
    using Positions = std::vector<std::size_t>;

    std::string Block(std::size_t i) const { return "block " + Quoted(names[i]); }

    std::string BlockFault() {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const QuorvelAudioBlock& block = chain.blocks.Item(i);
            if (!IsKnownBlockType(block.typeId)) {
                return Block(i) + ": unknown kind " + GuidText(block.typeId);
            }
            if (block.id == GUID{}) return Block(i) + ": has the null id";
            const auto [other, isNew] = positionOf.emplace(block.id, i);
            if (!isNew) return Block(i) + ": has the id of " + Block(other->second);
            if (!TakesRecord(block)) {
                return Block(i) + ": refuses its record of " + std::to_string(block.dataSize) +
                       " bytes";
            }
        }
        return {};
    }

    static bool TakesRecord(const QuorvelAudioBlock& block) {
        if (!block.data) return true;
        const auto live = CreateBlock(block.typeId, block.id);
        return live && live->SetParameterData(block.data, block.dataSize);
    }

    std::string LinkFault() {
        for (unsigned i = 0; i < chain.links.Count(); ++i) {
            const _QuorvelAudioBlockLink& link = chain.links.Item(i);
            for (const GUID& end : {link.sourceBlockId, link.destinationBlockId}) {
                if (positionOf.contains(end)) continue;
                return "link " + std::to_string(i + 1) + ": no block has the id " + GuidText(end);
            }
            Connect(positionOf[link.sourceBlockId], positionOf[link.destinationBlockId]);
        }
        return {};
    }

    void Connect(std::size_t source, std::size_t destination) {
        if (!links.emplace(source, destination).second) return;
        downstream[source].push_back(destination);
        upstream[destination].push_back(source);
    }

    // Takes away, again and again, blocks that nothing feeds. What is left lies on a cycle or
    // behind one, so walking upstream within it must come back to a block already met.
    std::string CycleFault() {
        std::vector<std::size_t> feeders(names.size());
        for (std::size_t i = 0; i < feeders.size(); ++i) {
            feeders[i] = upstream[i].size();
            if (feeders[i] == 0) inOrder.push_back(i);
        }
        for (std::size_t k = 0; k < inOrder.size(); ++k) {
            for (const std::size_t next : downstream[inOrder[k]]) {
                if (--feeders[next] == 0) inOrder.push_back(next);
            }
        }
        const auto left = std::find_if(feeders.begin(), feeders.end(),
                                       [](std::size_t count) { return count > 0; });
        if (left == feeders.end()) return {};
        return "the links form a cycle: " +
               Told(CycleUpstreamOf(static_cast<std::size_t>(left - feeders.begin()), feeders),
                    " -> ");
    }

    Positions CycleUpstreamOf(std::size_t start, const std::vector<std::size_t>& feeders) const {
        Positions walk;
        std::vector<bool> isMet(names.size());
        std::size_t at = start;
        while (!isMet[at]) {
            isMet[at] = true;
            walk.push_back(at);
            at = *std::find_if(upstream[at].begin(), upstream[at].end(),
                               [&](std::size_t feeder) { return feeders[feeder] > 0; });
        }
        walk.erase(walk.begin(), std::find(walk.begin(), walk.end(), at));
        walk.push_back(at);
        std::reverse(walk.begin(), walk.end());
        return walk;
    }

    // Several ends are joined when the walks from them, always along the first link in, end in one
    // block.
    std::string EndsFault() const {
        Positions beginning(names.size());
        Positions ends;
        for (const std::size_t i : inOrder) {
            beginning[i] = upstream[i].empty() ? i : beginning[upstream[i].front()];
            if (downstream[i].empty()) ends.push_back(i);
        }
        const bool isJoined = std::all_of(ends.begin(), ends.end(), [&](std::size_t end) {
            return beginning[end] == beginning[ends.front()];
        });
        if (isJoined) return {};
        std::sort(ends.begin(), ends.end());
        return "several blocks end the chain and have no common beginning: " + Told(ends, ", ");
    }

    std::string Told(const Positions& blocks, const std::string& between) const {
        std::string text;
        for (std::size_t k = 0; k < std::min(blocks.size(), kMostNamesTold); ++k)
            text += (k ? between : "") + Quoted(names[blocks[k]]);
        return blocks.size() > kMostNamesTold ? text + between + "..." : text;
    }

    const QuorvelAudioBlocksChain& chain;
    const std::vector<std::string>& names;
    std::map<GUID, std::size_t, GuidLess> positionOf;
    std::set<std::pair<std::size_t, std::size_t>> links;
    std::vector<Positions> upstream;    // in the order of the links
    std::vector<Positions> downstream;  // the same
    Positions inOrder;                  // each block behind all that feed it; cycles are missing
};

}  // namespace

std::string FindChainFault(const QuorvelAudioBlocksChain& chain,
                           const std::vector<std::string>& names) {
    return ChainGraph(chain, names).FindFault();
}

}  // namespace quorvel::tool
