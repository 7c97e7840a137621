#include <map>
#include <span>

#include "authoring/document/guid_text.h"
#include "authoring/document/hex_text.h"
#include "authoring/document/profile_json.h"
#include "authoring/document/utf16_text.h"
#include "base/guid_order.h"
#include "kinds/block_kinds.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

using NameOfId = std::map<GUID, std::string, GuidLess>;

OrderedJson WritePath(const WCHAR* path) {
    const std::basic_string_view<WCHAR> text(path);
    if (const std::optional<std::string> narrow = ToUtf8(text)) return *narrow;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    return {{"data", HexText({bytes, text.size() * sizeof(WCHAR)})}};
}

OrderedJson WritePaths(const QuorvelAudioProfile& profile) {
    OrderedJson paths = OrderedJson::array();
    for (unsigned i = 0; i < profile.PathsCount(); ++i) {
        if (profile.Path(i)) paths.push_back(WritePath(profile.Path(i)));
    }
    return paths;
}

void WriteRecordBytes(OrderedJson& json, const QuorvelAudioBlock& block) {
    const std::span<const std::uint8_t> bytes(block.data, block.dataSize);
    if (const BlockFields* fields = FindBlockFields(block.typeId)) {
        if (auto parameters = WriteParameters(bytes, fields->record)) {
            json["parameters"] = std::move(*parameters);
            return;
        }
    }
    json["data"] = HexText(bytes);
}

OrderedJson WriteBlock(const QuorvelAudioBlock& block, const std::string& name,
                       const QuorvelAudioBlocksChain& chain) {
    const BlockKind* kind = FindBlockKind(block.typeId);
    OrderedJson json;
    json["name"] = name;
    json["id"] = GuidText(block.id);
    json["type"] = kind ? kind->name : GuidText(block.typeId);
    if (!(block.profileId == chain.profileId)) json["profileId"] = GuidText(block.profileId);
    if (block.chainId != chain.id) json["chainId"] = block.chainId;
    WriteRecordBytes(json, block);
    return json;
}

std::string WriteLinkEnd(const GUID& id, const NameOfId& nameOfId) {
    const auto named = nameOfId.find(id);
    return named == nameOfId.end() ? GuidText(id) : named->second;
}

OrderedJson WriteChain(const QuorvelAudioBlocksChain& chain,
                       const std::vector<std::string>& names) {
    OrderedJson blocks = OrderedJson::array();
    NameOfId nameOfId;
    for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chain.blocks.Item(i);
        blocks.push_back(WriteBlock(block, names[i], chain));
        nameOfId.emplace(block.id, names[i]);
    }
    OrderedJson links = OrderedJson::array();
    for (unsigned i = 0; i < chain.links.Count(); ++i) {
        const _QuorvelAudioBlockLink& link = chain.links.Item(i);
        links.push_back({WriteLinkEnd(link.sourceBlockId, nameOfId),
                         WriteLinkEnd(link.destinationBlockId, nameOfId)});
    }
    return {{"number", chain.id}, {"blocks", std::move(blocks)}, {"links", std::move(links)}};
}

}  // namespace

OrderedJson WriteProfile(const NamedProfile& named) {
    OrderedJson chains = OrderedJson::array();
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
        chains.push_back(WriteChain(named.profile.chains.Item(i), named.names[i]));
    OrderedJson profile = {{"id", GuidText(named.profile.id)}};
    if (!named.purpose.empty()) profile["purpose"] = named.purpose;
    profile["paths"] = WritePaths(named.profile);
    profile["chains"] = std::move(chains);
    return profile;
}

}  // namespace quorvel::tool
