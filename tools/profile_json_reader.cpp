#include <cstring>
#include <map>
#include <set>
#include <span>

#include "engine/block_factory.h"
#include "engine/guid_order.h"
#include "profile/quorvel_audio_block.h"
#include "tools/guid_text.h"
#include "tools/hex_text.h"
#include "tools/json_checks.h"
#include "tools/profile_json.h"
#include "tools/utf16_text.h"

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
    for (const BlockKind& kind : BlockKinds()) {
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
                std::vector<std::string>& blockNames)
        : profile(owner), chain(target), names(blockNames) {}

    void Read(const Json& value, const JsonPlace& place) {
        const Json& blocks = RequiredMember(value, "blocks", place);
        RequireArray(blocks, place.Key("blocks"));
        const JsonPlace blocksPlace = place.Key("blocks");
        for (std::size_t i = 0; i < blocks.size(); ++i)
            blocksPlace.Attempt([&] { ReadBlock(blocks[i], blocksPlace.At(i)); });
        const Json* links = FindMember(value, "links");
        if (!links) return;
        const JsonPlace linksPlace = place.Key("links");
        RequireArray(*links, linksPlace);
        for (std::size_t i = 0; i < links->size(); ++i)
            linksPlace.Attempt([&] { ReadLink((*links)[i], linksPlace.At(i)); });
    }

  private:
    void ReadBlock(const Json& value, const JsonPlace& place) {
        RequireObject(value, place);
        RefuseUnknownKeys(
            value, {"name", "id", "type", "parameters", "data", "profileId", "chainId"}, place);
        std::optional<GUID> typeId;
        place.Attempt([&] {
            const JsonPlace typePlace = place.Key("type");
            typeId = ReadType(RequiredMember(value, "type", place), typePlace);
        });
        GUID id{};
        place.Attempt([&] { id = ReadId(value, place); });
        place.Attempt([&] { ReadName(value, place, id); });
        if (typeId) AddBlock(value, *typeId, id, place);
    }

    GUID ReadId(const Json& block, const JsonPlace& place) {
        const GUID id = GuidOrFresh(block, place);
        if (ids.insert(id).second) return id;
        throw Refusal(place.Key("id"), "another block of the chain has this id");
    }

    void AddBlock(const Json& value, const GUID& typeId, const GUID& id, const JsonPlace& place) {
        QuorvelAudioBlock block(&profile, &chain, typeId, id);
        if (const Json* other = FindMember(value, "profileId")) {
            block.profileId = RequireGuid(*other, place.Key("profileId"));
        }
        if (const Json* other = FindMember(value, "chainId")) {
            block.chainId = RequireUnsigned32(*other, place.Key("chainId"));
        }
        std::vector<std::uint8_t> record = ReadRecordBytes(value, typeId, place);
        block.SetData(record.data(), static_cast<unsigned>(record.size()));
        if (block.DataSize() != record.size()) throw Refusal(place, "out of memory");
        chain.blocks.Add(block);
    }

    void ReadName(const Json& block, const JsonPlace& place, const GUID& id) {
        const JsonPlace namePlace = place.Key("name");
        const std::string& name = RequireText(RequiredMember(block, "name", place), namePlace);
        if (name.empty()) throw Refusal(namePlace, "must not be empty");
        if (!idOfName.emplace(name, id).second) {
            throw Refusal(namePlace, "another block of the chain is called " + Quoted(name));
        }
        names.push_back(name);
    }

    void ReadLink(const Json& value, const JsonPlace& place) {
        if (!value.is_array() || value.size() != 2) {
            throw Refusal(place, "must be a pair of blocks");
        }
        _QuorvelAudioBlockLink link;
        link.profileId = profile.id;
        link.chainId = chain.id;
        link.sourceBlockId = ReadLinkEnd(value[0], place.At(0));
        link.destinationBlockId = ReadLinkEnd(value[1], place.At(1));
        chain.links.Add(link);
    }

    GUID ReadLinkEnd(const Json& value, const JsonPlace& place) const {
        const std::string& end = RequireText(value, place);
        const auto named = idOfName.find(end);
        if (named != idOfName.end()) return named->second;
        const std::optional<GUID> id = ParseGuid(end);
        if (!id) throw Refusal(place, "no block of the chain is called " + Quoted(end));
        return *id;
    }

    QuorvelAudioProfile& profile;
    QuorvelAudioBlocksChain& chain;
    std::vector<std::string>& names;
    std::map<std::string, GUID> idOfName;
    std::set<GUID, GuidLess> ids;
};

void ReadChain(const Json& value, const JsonPlace& place, NamedProfile& named) {
    RequireObject(value, place);
    RefuseUnknownKeys(value, {"number", "blocks", "links"}, place);
    const JsonPlace numberPlace = place.Key("number");
    const auto number = RequireUnsigned32(RequiredMember(value, "number", place), numberPlace);
    if (named.profile.GetChain(number, false)) {
        throw Refusal(numberPlace, "another chain has this number");
    }
    QuorvelAudioBlocksChain* chain = named.profile.GetChain(number, true);
    if (!chain) throw Refusal(place, "out of memory");
    ChainReader(named.profile, *chain, named.names.emplace_back()).Read(value, place);
}

}  // namespace

void ReadProfile(const Json& document, NamedProfile& named, FaultList* faults) {
    const JsonPlace place(faults);
    RequireObject(document, place);
    RefuseUnknownKeys(document, {"$schema", "id", "purpose", "paths", "chains"}, place);
    place.Attempt([&] { named.profile.id = GuidOrFresh(document, place); });
    if (const Json* purpose = FindMember(document, "purpose")) {
        place.Attempt([&] { named.purpose = RequireText(*purpose, place.Key("purpose")); });
    }
    if (const Json* paths = FindMember(document, "paths")) {
        place.Attempt([&] { ReadPaths(*paths, place.Key("paths"), named.profile); });
    }
    const Json& chains = RequiredMember(document, "chains", place);
    const JsonPlace chainsPlace = place.Key("chains");
    RequireArray(chains, chainsPlace);
    for (std::size_t i = 0; i < chains.size(); ++i)
        chainsPlace.Attempt([&] { ReadChain(chains[i], chainsPlace.At(i), named); });
}

}  // namespace quorvel::tool
