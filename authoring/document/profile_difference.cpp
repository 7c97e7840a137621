#include "authoring/document/profile_difference.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>

#include "authoring/document/guid_text.h"
#include "authoring/document/json_place.h"
#include "authoring/document/parameter_text.h"
#include "authoring/document/utf16_text.h"
#include "base/guid_order.h"
#include "kinds/block_kinds.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

using Lines = std::vector<std::string>;

std::set<std::string> Paths(const QuorvelAudioProfile& profile) {
    std::set<std::string> paths;
    for (unsigned i = 0; i < profile.PathsCount(); ++i)
        paths.insert(profile.Path(i) ? Quoted(ToUtf8(profile.Path(i)).value_or("?")) : "(none)");
    return paths;
}

std::string KindName(const GUID& typeId) {
    const BlockKind* const kind = FindBlockKind(typeId);
    return kind ? kind->name : GuidText(typeId);
}

// One chain before and after.
class ChainChanges {
  public:
    struct Side {
        const QuorvelAudioBlocksChain& chain;
        const Lines& names;
    };

    ChainChanges(Side before, Side after, Lines& changes)
        : old(before), now(after), lines(changes) {}

    void Find() {
        positionBefore.assign(now.chain.blocks.Count(), kNone);
        positionNow.assign(old.chain.blocks.Count(), kNone);
        for (const auto belongs : {&HaveOneId, &HaveOneName, &HaveOneKind}) {
            for (unsigned i = 0; i < positionBefore.size(); ++i)
                if (positionBefore[i] == kNone) Match(i, belongs);
        }
        for (unsigned i = 0; i < positionNow.size(); ++i)
            if (positionNow[i] == kNone) Tell(old.names[i], "removed");
        for (unsigned i = 0; i < positionBefore.size(); ++i)
            CompareBlock(i);
        CompareLinks();
    }

  private:
    static constexpr unsigned kNone = static_cast<unsigned>(-1);

    struct Candidate {
        const QuorvelAudioBlock& block;
        const std::string& name;
    };
    using Belongs = bool (*)(const Candidate&, const Candidate&);

    static bool HaveOneId(const Candidate& a, const Candidate& b) {
        return a.block.id == b.block.id;
    }
    static bool HaveOneKind(const Candidate& a, const Candidate& b) {
        return a.block.typeId == b.block.typeId;
    }
    static bool HaveOneName(const Candidate& a, const Candidate& b) {
        return a.name == b.name && HaveOneKind(a, b);
    }

    void Match(unsigned i, Belongs belongs) {
        const Candidate block{now.chain.blocks.Item(i), now.names[i]};
        for (unsigned k = 0; k < positionNow.size(); ++k) {
            const Candidate other{old.chain.blocks.Item(k), old.names[k]};
            if (positionNow[k] != kNone || !belongs(other, block)) continue;
            positionNow[k] = i;
            positionBefore[i] = k;
            return;
        }
    }

    void CompareBlock(unsigned i) {
        const QuorvelAudioBlock& block = now.chain.blocks.Item(i);
        if (positionBefore[i] == kNone) {
            Tell(now.names[i], "added, " + KindName(block.typeId));
            for (const std::string& line : ParameterLines(block))
                Tell(now.names[i], line);
            return;
        }
        const QuorvelAudioBlock& before = old.chain.blocks.Item(positionBefore[i]);
        if (before.typeId != block.typeId) {
            Tell(now.names[i],
                 "is a " + KindName(block.typeId) + ", was a " + KindName(before.typeId));
        } else if (!std::ranges::equal(std::span(before.data, before.dataSize),
                                       std::span(block.data, block.dataSize))) {
            CompareFields(now.names[i], before, block);
        }
    }

    using Values = std::map<std::string, std::string>;

    static Values ValuesByName(const std::vector<ParameterValue>& values) {
        Values byName;
        for (const ParameterValue& value : values)
            byName.emplace(value.name, value.text);
        return byName;
    }

    // Whether the record could not be read as fields.
    static bool IsWhole(const std::vector<ParameterValue>& values) {
        return values.size() == 1 && values.front().name == "record";
    }

    static std::string Joined(const std::vector<ParameterValue>& values) {
        if (IsWhole(values)) return values.front().text;
        std::string text;
        for (const ParameterValue& value : values)
            text.append(text.empty() ? "" : ", ").append(value.name + " " + value.text);
        return text;
    }

    // In the order of the fields.
    void CompareFields(const std::string& name, const QuorvelAudioBlock& before,
                       const QuorvelAudioBlock& after) {
        const auto oldFields = ParameterValues(before), fields = ParameterValues(after);
        if (IsWhole(oldFields) != IsWhole(fields))
            return Tell(name, Joined(fields) + ", was " + Joined(oldFields));
        const Values oldValues = ValuesByName(oldFields), values = ValuesByName(fields);
        const std::size_t told = lines.size();
        for (const ParameterValue& field : oldFields)
            if (!values.contains(field.name))
                Tell(name, field.name + " " + field.text + " removed");
        for (const ParameterValue& field : fields) {
            const auto was = oldValues.find(field.name);
            if (was == oldValues.end())
                Tell(name, field.name + " " + field.text + " added");
            else if (was->second != field.text)
                Tell(name, field.name + " " + field.text + ", was " + was->second);
        }
        if (lines.size() == told) Tell(name, "the bytes of the record differ");
    }

    // By the block that takes them, in the order of its inputs.
    using Inputs = std::map<std::string, Lines>;

    static Inputs InputsOf(const QuorvelAudioBlocksChain& chain, const Lines& names) {
        std::map<GUID, std::string, GuidLess> nameOfId;
        for (unsigned i = 0; i < chain.blocks.Count(); ++i)
            nameOfId.emplace(chain.blocks.Item(i).id, names[i]);
        const auto nameOf = [&](const GUID& id) {
            const auto found = nameOfId.find(id);
            return found == nameOfId.end() ? GuidText(id) : found->second;
        };
        Inputs inputs;
        for (unsigned i = 0; i < chain.links.Count(); ++i) {
            const auto& link = chain.links.Item(i);
            Lines& sources = inputs[nameOf(link.destinationBlockId)];
            const std::string source = nameOf(link.sourceBlockId);
            if (std::ranges::count(sources, source) == 0) sources.push_back(source);
        }
        return inputs;
    }

    void CompareLinks() {
        Lines present = old.names;  // what the blocks of before are called now
        for (unsigned i = 0; i < present.size(); ++i)
            if (positionNow[i] != kNone) present[i] = now.names[positionNow[i]];
        Inputs before = InputsOf(old.chain, present), after = InputsOf(now.chain, now.names);
        for (const auto& [block, sources] : before)
            TellMissing(block, sources, after[block], "removed");
        for (const auto& [block, sources] : after)
            TellMissing(block, sources, before[block], "added");
        for (auto& [block, sources] : after)
            CompareOrder(block, before[block], sources);
    }

    void TellMissing(const std::string& block, const Lines& sources, const Lines& others,
                     const char* what) {
        for (const std::string& source : sources)
            if (std::ranges::count(others, source) == 0)
                Tell("link " + source + " -> " + block, what);
    }

    // Of the inputs that both have.
    void CompareOrder(const std::string& block, Lines before, Lines after) {
        const auto keepCommon = [](Lines& sources, const Lines& others) {
            std::erase_if(sources, [&](const std::string& source) {
                return std::ranges::count(others, source) == 0;
            });
        };
        const Lines all = before;
        keepCommon(before, after);
        keepCommon(after, all);
        if (before == after) return;
        std::string order;
        for (const std::string& source : after)
            order.append(order.empty() ? "" : ", ").append(source);
        Tell(block, "its inputs have another order: " + order);
    }

    void Tell(const std::string& what, const std::string& change) {
        lines.push_back("chain " + std::to_string(now.chain.id) + ", " + what + ": " + change);
    }

    Side old;
    Side now;
    Lines& lines;
    std::vector<unsigned> positionBefore{};  // by position now; kNone: added
    std::vector<unsigned> positionNow{};     // by position before; kNone: removed
};

// Chains by number, with their position.
std::map<std::uint32_t, unsigned> Chains(const NamedProfile& named) {
    std::map<std::uint32_t, unsigned> chains;
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
        chains.emplace(named.profile.chains.Item(i).id, i);
    return chains;
}

}  // namespace

std::vector<std::string> ProfileChanges(const NamedProfile& before, const NamedProfile& after) {
    Lines lines;
    const auto oldPaths = Paths(before.profile), paths = Paths(after.profile);
    for (const std::string& path : oldPaths)
        if (!paths.contains(path)) lines.push_back("path " + path + " removed");
    for (const std::string& path : paths)
        if (!oldPaths.contains(path)) lines.push_back("path " + path + " added");

    const auto oldChains = Chains(before), chains = Chains(after);
    for (const auto& [number, i] : oldChains)
        if (!chains.contains(number))
            lines.push_back("chain " + std::to_string(number) + " removed");
    for (const auto& [number, i] : chains) {
        const auto old = oldChains.find(number);
        if (old == oldChains.end()) {
            lines.push_back("chain " + std::to_string(number) + " added");
            continue;
        }
        ChainChanges({before.profile.chains.Item(old->second), before.names[old->second]},
                     {after.profile.chains.Item(i), after.names[i]}, lines)
            .Find();
    }
    return lines;
}

}  // namespace quorvel::tool
