#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "authoring/document/guid_text.h"
#include "authoring/document/hex_text.h"
#include "authoring/document/json_checks.h"
#include "authoring/document/profile_json.h"
#include "authoring/document/utf16_text.h"
#include "base/guid_order.h"
#include "kinds/block_kinds.h"
#include "profile/make_room.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

GUID RequireGuid(const Json& value, const JsonPlace& place) {
    const std::optional<GUID> guid = ParseGuid(RequireText(value, place));
    if (!guid) throw Refusal(place, "must be a GUID like {41FC156B-DEF3-4CDE-B28D-913E81AA0AD3}");
    return *guid;
}

GUID FreshGuid(const JsonPlace& place) {
    GUID fresh{};
    if (!QuorvelAudioProfile::GenerateNewID(fresh)) throw Refusal(place, "no id can be made");
    return fresh;
}

GUID GuidOrFresh(const Json& object, const JsonPlace& place) {
    const Json* id = FindMember(object, "id");
    return id ? RequireGuid(*id, place.Key("id")) : FreshGuid(place);
}

std::vector<std::uint8_t> RequireHex(const Json& value, const JsonPlace& place) {
    auto bytes = ParseHex(RequireText(value, place));
    if (!bytes) throw Refusal(place, "must be pairs of hexadecimal digits");
    return std::move(*bytes);
}

WideText ReadPath(const Json& value, const JsonPlace& place) {
    if (!value.is_object()) return ToUtf16(RequireText(value, place));
    RefuseUnknownKeys(value, {"data"}, place);
    const auto bytes = RequireHex(RequiredMember(value, "data", place), place.Key("data"));
    WideText path(bytes.size() / sizeof(WCHAR), WCHAR{});
    std::memcpy(path.data(), bytes.data(), path.size() * sizeof(WCHAR));
    return path;
}

// The packed form ends the list at an empty path and a path at its first zero.
void AddPath(const WideText& path, const JsonPlace& place, QuorvelAudioProfile& profile) {
    if (path.empty()) throw Refusal(place, "must not be empty");
    if (path.find(WCHAR{}) != WideText::npos) throw Refusal(place, "must not contain U+0000");
    if (!profile.AddPath(path.c_str())) throw Refusal(place, "out of memory");
}

void ReadPaths(const Json& paths, const JsonPlace& place, QuorvelAudioProfile& profile) {
    RequireArray(paths, place);
    for (std::size_t i = 0; i < paths.size(); ++i)
        place.Attempt([&] { AddPath(ReadPath(paths[i], place.At(i)), place.At(i), profile); });
}

GUID ReadType(const Json& value, const JsonPlace& place) {
    const std::string& type = RequireText(value, place);
    for (const BlockKind& kind : kBlockKinds) {
        if (type == kind.name) return kind.typeId;
    }
    const std::optional<GUID> guid = ParseGuid(type);
    if (!guid) throw Refusal(place, "unknown block type " + Quoted(type));
    return *guid;
}

std::vector<std::uint8_t> ReadRecordBytes(const Json& block, const GUID& typeId,
                                          const JsonPlace& place) {
    const Json* data = FindMember(block, "data");
    const Json* parameters = FindMember(block, "parameters");
    if (data && parameters) throw Refusal(place.Key("data"), "stands beside parameters");
    if (data) return RequireHex(*data, place.Key("data"));
    const BlockFields* fields = FindBlockFields(typeId);
    if (fields) {
        return ReadParameters(parameters ? *parameters : Json::object(), fields->record,
                              place.Key("parameters"));
    }
    if (parameters) {
        throw Refusal(place.Key("parameters"), "this kind of block takes data, not parameters");
    }
    return {};
}

// Reads one chain of the profile.
class ChainReader {
  public:
    ChainReader(QuorvelAudioProfile& owner, QuorvelAudioBlocksChain& target,
                std::vector<std::string>& blockNames, ChainSource& chainSource)
        : profile(owner), chain(target), names(blockNames), source(chainSource) {}

    void Read(const Json& value, const JsonPlace& place) {
        const JsonPlace blocksPlace = place.Key("blocks");
        lacksBlocks = !place.Attempt(
            [&] { RequireArray(RequiredMember(value, "blocks", place), blocksPlace); });
        if (!lacksBlocks) ReadBlocks(value["blocks"], blocksPlace);
        const Json* links = FindMember(value, "links");
        if (!links) return;
        const JsonPlace linksPlace = place.Key("links");
        const bool hasLinks = place.Attempt([&] { RequireArray(*links, linksPlace); });
        if (!hasLinks) return LoseLink();
        for (std::size_t i = 0; i < links->size(); ++i)
            linksPlace.Attempt([&] { ReadLink((*links)[i], linksPlace.At(i), i); });
    }

  private:
    void ReadBlocks(const Json& blocks, const JsonPlace& place) {
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            const JsonPlace blockPlace = place.At(i);
            if (place.Attempt([&] { RequireObject(blocks[i], blockPlace); }))
                ReadBlock(blocks[i], blockPlace, i);
            else
                lacksBlocks = true;
        }
    }

    void ReadBlock(const Json& value, const JsonPlace& place, std::size_t position) {
        RefuseUnknownKeys(
            value, {"name", "id", "type", "parameters", "data", "profileId", "chainId"}, place);
        GUID typeId{};
        const bool hasType = place.Attempt([&] {
            const JsonPlace typePlace = place.Key("type");
            typeId = ReadType(RequiredMember(value, "type", place), typePlace);
        });
        const GUID id = ReadId(value, place);
        std::string name = ReadName(value, place, id);
        QuorvelAudioBlock block(&profile, &chain, typeId, id);
        ReadOwners(value, place, block);
        if (hasType)
            ReadRecord(value, place, block);
        else
            source.gaps.withoutKind.insert(id);
        chain.blocks.Add(block);
        names.push_back(std::move(name));
        source.blocks.push_back(position);
    }

    // A block without an id that only it has gets a fresh one: it is there all the same.
    GUID ReadId(const Json& block, const JsonPlace& place) {
        GUID id{};
        const bool hasId = place.Attempt([&] { id = GuidOrFresh(block, place); });
        if (hasId && place.Attempt([&] { ClaimId(id, place); })) return id;
        lacksBlocks = lacksBlocks || !hasId;
        id = FreshGuid(place);
        ids.insert(id);
        source.gaps.linked.insert(id);
        return id;
    }

    void ClaimId(const GUID& id, const JsonPlace& place) {
        if (ids.insert(id).second) return;
        sharedIds.insert(id);
        source.gaps.linked.insert(id);
        throw Refusal(place.Key("id"), "another block of the chain has this id");
    }

    std::string ReadName(const Json& block, const JsonPlace& place, const GUID& id) {
        std::string name;
        const bool hasName = place.Attempt([&] { name = RequireName(block, place); });
        if (hasName && place.Attempt([&] { ClaimName(name, id, place); })) return name;
        source.gaps.linked.insert(id);
        if (hasName) return name;
        lacksBlocks = true;
        return GuidText(id);
    }

    static std::string RequireName(const Json& block, const JsonPlace& place) {
        const JsonPlace namePlace = place.Key("name");
        const std::string& name = RequireText(RequiredMember(block, "name", place), namePlace);
        if (name.empty()) throw Refusal(namePlace, "must not be empty");
        return name;
    }

    void ClaimName(const std::string& name, const GUID& id, const JsonPlace& place) {
        const auto [other, isNew] = idOfName.emplace(name, id);
        if (isNew) return;
        if (other->second) source.gaps.linked.insert(*other->second);
        other->second.reset();
        throw Refusal(place.Key("name"), "another block of the chain is called " + Quoted(name));
    }

    void ReadOwners(const Json& value, const JsonPlace& place, QuorvelAudioBlock& block) const {
        if (const Json* other = FindMember(value, "profileId")) {
            place.Attempt([&] { block.profileId = RequireGuid(*other, place.Key("profileId")); });
        }
        if (const Json* other = FindMember(value, "chainId")) {
            place.Attempt([&] { block.chainId = RequireUnsigned32(*other, place.Key("chainId")); });
        }
    }

    // A record in part would only lead to further faults.
    static void ReadRecord(const Json& value, const JsonPlace& place, QuorvelAudioBlock& block) {
        std::vector<std::uint8_t> record;
        const bool isWhole =
            place.Attempt([&] { record = ReadRecordBytes(value, block.typeId, place); });
        if (!isWhole) return;
        block.SetData(record.data(), static_cast<unsigned>(record.size()));
        if (block.DataSize() != record.size()) throw Refusal(place, "out of memory");
    }

    void ReadLink(const Json& value, const JsonPlace& place, std::size_t position) {
        if (!value.is_array() || value.size() != 2) {
            LoseLink();
            throw Refusal(place, "must be a pair of blocks");
        }
        std::array<std::optional<GUID>, 2> ends;
        for (std::size_t k = 0; k < ends.size(); ++k)
            place.Attempt([&] { ends[k] = ReadLinkEnd(value[k], place.At(k)); });
        if (ends[0] && ends[1]) return AddLink(*ends[0], *ends[1], position);
        source.gaps.lacksLinks = true;
        for (const std::optional<GUID>& end : ends)
            if (end) source.gaps.linked.insert(*end);
    }

    void AddLink(const GUID& sourceId, const GUID& destinationId, std::size_t position) {
        _QuorvelAudioBlockLink link;
        link.profileId = profile.id;
        link.chainId = chain.id;
        link.sourceBlockId = sourceId;
        link.destinationBlockId = destinationId;
        chain.links.Add(link);
        source.links.push_back(position);
    }

    // Empty where the end may be a block that was told to be at fault.
    std::optional<GUID> ReadLinkEnd(const Json& value, const JsonPlace& place) {
        if (!value.is_string()) LoseLink();
        const std::string& end = RequireText(value, place);
        const auto named = idOfName.find(end);
        if (named != idOfName.end()) return named->second;
        const std::optional<GUID> id = ParseGuid(end);
        if (id && sharedIds.contains(*id)) return {};
        if (lacksBlocks && !(id && ids.contains(*id))) return {};
        if (!id) throw Refusal(place, "no block of the chain is called " + Quoted(end));
        return id;
    }

    void LoseLink() {
        source.gaps.lacksLinks = true;
        source.gaps.mayLinkAny = true;
    }

    QuorvelAudioProfile& profile;
    QuorvelAudioBlocksChain& chain;
    std::vector<std::string>& names;
    ChainSource& source;
    std::map<std::string, std::optional<GUID>> idOfName;  // empty: of several blocks
    std::set<GUID, GuidLess> ids;
    std::set<GUID, GuidLess> sharedIds;
    bool lacksBlocks = false;  // some are unknown, or known without the name or the id
};

// Reads the chains of the profile.
class ChainsReader {
  public:
    ChainsReader(NamedProfile& target, std::vector<ChainSource>& chainSources)
        : named(target), sources(chainSources) {}

    void Read(const Json& chains, const JsonPlace& place) {
        RequireArray(chains, place);
        for (std::size_t i = 0; i < chains.size(); ++i) {
            const std::size_t before = sources.size();
            const bool isWhole = place.Attempt([&] { ReadChain(chains[i], place.At(i), i); });
            if (sources.size() > before) sources.back().isWhole = isWhole;
        }
    }

  private:
    void ReadChain(const Json& value, const JsonPlace& place, std::size_t position) {
        RequireObject(value, place);
        RefuseUnknownKeys(value, {"number", "blocks", "links"}, place);
        std::optional<std::uint32_t> number;
        place.Attempt([&] { ReadNumber(value, place, number); });
        QuorvelAudioBlocksChain empty(&named.profile, number.value_or(0));
        QuorvelAudioBlocksChain* chain = TryAdd(named.profile.chains, empty);
        if (!chain) throw Refusal(place, "out of memory");
        ChainSource& source = sources.emplace_back();
        source.position = position;
        source.hasNumber = number.has_value();
        ChainReader(named.profile, *chain, named.names.emplace_back(), source).Read(value, place);
    }

    void ReadNumber(const Json& value, const JsonPlace& place,
                    std::optional<std::uint32_t>& number) {
        const JsonPlace numberPlace = place.Key("number");
        number = RequireUnsigned32(RequiredMember(value, "number", place), numberPlace);
        if (!numbers.insert(*number).second)
            throw Refusal(numberPlace, "another chain has this number");
    }

    NamedProfile& named;
    std::vector<ChainSource>& sources;
    std::set<std::uint32_t> numbers;
};

}  // namespace

void ReadProfile(const Json& document, NamedProfile& named, ProfileReading* reading) {
    ProfileReading unasked;
    const JsonPlace place(reading ? &reading->faults : nullptr);
    RequireObject(document, place);
    RefuseUnknownKeys(document, {"$schema", "id", "purpose", "paths", "chains"}, place);
    place.Attempt([&] { named.profile.id = GuidOrFresh(document, place); });
    if (const Json* purpose = FindMember(document, "purpose")) {
        place.Attempt([&] { named.purpose = RequireText(*purpose, place.Key("purpose")); });
    }
    if (const Json* paths = FindMember(document, "paths")) {
        place.Attempt([&] { ReadPaths(*paths, place.Key("paths"), named.profile); });
    }
    ChainsReader reader(named, (reading ? *reading : unasked).chains);
    place.Attempt(
        [&] { reader.Read(RequiredMember(document, "chains", place), place.Key("chains")); });
}

}  // namespace quorvel::tool
