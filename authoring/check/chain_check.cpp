#include "authoring/check/chain_check.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "authoring/document/guid_text.h"
#include "authoring/document/json_place.h"
#include "base/guid_order.h"
#include "engine/block_factory.h"
#include "engine/limits.h"
#include "engine/record_limits.h"
#include "kinds/block_kinds.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

constexpr std::size_t kMostNamesTold = 8;

// The blocks of a chain by position, and who feeds whom, each link once.
class ChainGraph {
  public:
    ChainGraph(const QuorvelAudioBlocksChain& chainToCheck,
               const std::vector<std::string>& blockNames, const ChainGaps& chainGaps)
        : chain(chainToCheck),
          names(blockNames),
          gaps(chainGaps),
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
        CheckCount("blocks", chain.blocks.Count(), limits::kMostBlocks);
        CheckCount("links", chain.links.Count(), limits::kMostLinks);
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const QuorvelAudioBlock& block = chain.blocks.Item(i);
            if (!gaps.withoutKind.contains(block.id)) CheckKind(block, i);
            CheckId(block, i);
        }
    }

    void CheckKind(const QuorvelAudioBlock& block, std::size_t i) {
        if (!IsKnownBlockType(block.typeId)) {
            faults.push_back(
                {"unknown kind " + GuidText(block.typeId), "a newer library may know it", i, {}});
        } else if (IsWithinLimits(block, i) && !TakesRecord(block)) {
            faults.push_back({"refuses its record of " + std::to_string(block.dataSize) + " bytes",
                              "write it as parameters",
                              i,
                              {}});
        }
    }

    // The record is looked at before a block is made of it: making one may cost what it asks for.
    bool IsWithinLimits(const QuorvelAudioBlock& block, std::size_t i) {
        const auto excess = FindRecordExcess(block.typeId, block.data, block.dataSize);
        if (!excess) return true;
        faults.push_back({std::string("has ") + std::to_string(excess->value) + " for " +
                              excess->field->name + ": a processing object refuses the record",
                          "give at most " + std::to_string(excess->field->largest),
                          i,
                          {}});
        return false;
    }

    void CheckCount(const char* what, unsigned count, std::uint32_t most) {
        if (count > most)
            faults.push_back({"has " + std::to_string(count) + " " + what +
                                  ": a processing object takes the first " + std::to_string(most),
                              {},
                              {},
                              {}});
    }

    void CheckId(const QuorvelAudioBlock& block, std::size_t i) {
        const auto [other, isNew] = positionOf.emplace(block.id, i);
        const bool isNull = block.id == GUID{};
        if (isNew && !isNull) return;
        sharedIds.insert(block.id);
        if (isNull)
            faults.push_back({"has the null id", "leave the id out", i, {}});
        else
            faults.push_back({"has the id of " + Block(other->second), {}, i, {}});
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
                isWhole = isWhole && positionOf.contains(end) && !sharedIds.contains(end);
                if (!positionOf.contains(end))
                    faults.push_back({"no block has the id " + GuidText(end), {}, {}, i});
            }
            if (isWhole)
                Connect(positionOf[link.sourceBlockId], positionOf[link.destinationBlockId]);
            else
                LeaveOut(link);
        }
    }

    void LeaveOut(const _QuorvelAudioBlockLink& link) {
        gaps.lacksLinks = true;
        gaps.linked.insert(link.sourceBlockId);
        gaps.linked.insert(link.destinationBlockId);
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
            faults.push_back(
                {"the links form a cycle: " + Told(cycle), "remove one of these links", {}, {}});
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
        if (names.size() < 2 || gaps.mayLinkAny) return;
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (IsLoose(i) && !gaps.linked.contains(chain.blocks.Item(unsigned(i)).id))
                faults.push_back(
                    {"is not linked to any other block", "link it or remove it", i, {}});
        }
    }

    // Several ends are joined when the walks from them, always along the first link in, end in one
    // block. With cycles there is nothing to walk to, and a link that is missing may have joined
    // them.
    void FindEndsFault() {
        if (hasCycles || gaps.lacksLinks) return;
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

    // All of them: which link to remove is for the reader to choose.
    std::string Told(const Positions& cycle) const {
        std::string text;
        for (std::size_t k = 0; k < cycle.size(); ++k)
            text += (k ? " -> " : "") + Quoted(names[cycle[k]]);
        return text;
    }

    const QuorvelAudioBlocksChain& chain;
    const std::vector<std::string>& names;
    ChainGaps gaps;  // grows by the links with faults
    std::map<GUID, std::size_t, GuidLess> positionOf;
    std::set<GUID, GuidLess> sharedIds;  // of several blocks, or the null id: no block is meant
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
                                        const std::vector<std::string>& names,
                                        const ChainGaps& gaps) {
    return ChainGraph(chain, names, gaps).FindFaults();
}

std::string FindChainFault(const QuorvelAudioBlocksChain& chain,
                           const std::vector<std::string>& names) {
    const auto faults = FindChainFaults(chain, names);
    return faults.empty() ? std::string() : faults.front().Text(names);
}

}  // namespace quorvel::tool
