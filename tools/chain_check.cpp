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

    std::vector<ChainFault> FindFaults() {
        FindBlockFaults();
        FindLinkFaults();
        FindCycles();
        FindLooseBlocks();
        FindEndsFault();
        return std::move(faults);
    }

  private:
    using Positions = std::vector<std::size_t>;

    std::string Block(std::size_t i) const { return "block " + Quoted(names[i]); }

    void FindBlockFaults() {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const QuorvelAudioBlock& block = chain.blocks.Item(i);
            if (!IsKnownBlockType(block.typeId)) {
                faults.push_back({"unknown kind " + GuidText(block.typeId),
                                  "a newer library may know it",
                                  i,
                                  {}});
            } else if (!TakesRecord(block)) {
                faults.push_back(
                    {"refuses its record of " + std::to_string(block.dataSize) + " bytes",
                     "write it as parameters",
                     i,
                     {}});
            }
            if (block.id == GUID{}) {
                faults.push_back({"has the null id", "leave the id out", i, {}});
                continue;
            }
            const auto [other, isNew] = positionOf.emplace(block.id, i);
            if (!isNew) faults.push_back({"has the id of " + Block(other->second), {}, i, {}});
        }
    }

    static bool TakesRecord(const QuorvelAudioBlock& block) {
        if (!block.data) return true;
        const auto live = CreateBlock(block.typeId, block.id);
        return live && live->SetParameterData(block.data, block.dataSize);
    }

    void FindLinkFaults() {
        for (unsigned i = 0; i < chain.links.Count(); ++i) {
            const _QuorvelAudioBlockLink& link = chain.links.Item(i);
            bool isWhole = true;
            for (const GUID& end : {link.sourceBlockId, link.destinationBlockId}) {
                if (positionOf.contains(end)) continue;
                isWhole = false;
                faults.push_back({"no block has the id " + GuidText(end), {}, {}, i});
            }
            if (isWhole)
                Connect(positionOf[link.sourceBlockId], positionOf[link.destinationBlockId]);
        }
    }

    void Connect(std::size_t source, std::size_t destination) {
        if (!links.emplace(source, destination).second) return;
        downstream[source].push_back(destination);
        upstream[destination].push_back(source);
    }

    // Takes away, again and again, blocks that nothing feeds. What is left lies on a cycle or
    // behind one, so walking upstream within it must come back to a block already met. A cycle that
    // was told is taken away too, to find the next.
    void FindCycles() {
        std::vector<std::size_t> feeders(names.size());
        for (std::size_t i = 0; i < feeders.size(); ++i) {
            feeders[i] = upstream[i].size();
            if (feeders[i] == 0) inOrder.push_back(i);
        }
        std::size_t done = 0;
        for (;;) {
            for (; done < inOrder.size(); ++done) {
                for (const std::size_t next : downstream[inOrder[done]]) {
                    if (feeders[next] > 0 && --feeders[next] == 0) inOrder.push_back(next);
                }
            }
            const auto left = std::find_if(feeders.begin(), feeders.end(),
                                           [](std::size_t count) { return count > 0; });
            if (left == feeders.end()) return;
            hasCycles = true;
            Positions cycle =
                CycleUpstreamOf(static_cast<std::size_t>(left - feeders.begin()), feeders);
            faults.push_back({"the links form a cycle: " + Told(cycle, " -> "),
                              "remove one of these links",
                              {},
                              {}});
            cycle.pop_back();  // the first again
            for (const std::size_t block : cycle) {
                feeders[block] = 0;
                inOrder.push_back(block);
            }
        }
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

    bool IsLoose(std::size_t i) const { return upstream[i].empty() && downstream[i].empty(); }

    // A chain may be a single block.
    void FindLooseBlocks() {
        if (names.size() < 2) return;
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (IsLoose(i))
                faults.push_back(
                    {"is not linked to any other block", "link it or remove it", i, {}});
        }
    }

    // Several ends are joined when the walks from them, always along the first link in, end in one
    // block. With cycles there is nothing to walk to.
    void FindEndsFault() {
        if (hasCycles) return;
        Positions beginning(names.size());
        Positions ends;
        for (const std::size_t i : inOrder) {
            beginning[i] = upstream[i].empty() ? i : beginning[upstream[i].front()];
            if (downstream[i].empty() && !IsLoose(i)) ends.push_back(i);
        }
        const bool isJoined = std::all_of(ends.begin(), ends.end(), [&](std::size_t end) {
            return beginning[end] == beginning[ends.front()];
        });
        if (isJoined) return;
        std::sort(ends.begin(), ends.end());
        faults.push_back({"several blocks end the chain and have no common beginning: " +
                              ToldWithBeginnings(ends, beginning),
                          "feed them from one block, or link them to one",
                          {},
                          {}});
    }

    std::string ToldWithBeginnings(const Positions& ends, const Positions& beginning) const {
        std::string text;
        for (std::size_t k = 0; k < std::min(ends.size(), kMostNamesTold); ++k) {
            text += (k ? ", " : "") + Quoted(names[ends[k]]) + " (from " +
                    Quoted(names[beginning[ends[k]]]) + ")";
        }
        return ends.size() > kMostNamesTold ? text + ", ..." : text;
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
    Positions inOrder;  // each block behind all that feed it, as far as there is one
    bool hasCycles = false;
    std::vector<ChainFault> faults;
};

}  // namespace

std::string ChainFault::Text(const std::vector<std::string>& names) const {
    if (block) return "block " + Quoted(names[*block]) + ": " + what;
    return link ? "link " + std::to_string(*link + 1) + ": " + what : what;
}

std::vector<ChainFault> FindChainFaults(const QuorvelAudioBlocksChain& chain,
                                        const std::vector<std::string>& names) {
    return ChainGraph(chain, names).FindFaults();
}

std::string FindChainFault(const QuorvelAudioBlocksChain& chain,
                           const std::vector<std::string>& names) {
    const auto faults = FindChainFaults(chain, names);
    return faults.empty() ? std::string() : faults.front().Text(names);
}

}  // namespace quorvel::tool
