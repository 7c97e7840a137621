#include "authoring/host/profile_edits.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "authoring/check/chain_check.h"
#include "authoring/document/file_bytes.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/hex_text.h"
#include "authoring/document/json_checks.h"
#include "authoring/document/parameter_json.h"
#include "authoring/document/profile_copy.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/profile_json.h"
#include "base/guid_order.h"
#include "engine/block_factory.h"
#include "engine/graph_from_chain.h"
#include "engine/record_limits.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

constexpr char kUnprocessed[] = "the sound passes unprocessed";
constexpr char kDefaults[] = "has its defaults";

double RequireTime(const Json& edit, const JsonPlace& place) {
    const Json& at = RequiredMember(edit, "at", place);
    if (!at.is_number() || !(at.get<double>() >= 0.0))
        throw Refusal(place.Key("at"), "must be a number of seconds, 0 or more");
    return at.get<double>();
}

// Fields inside records are changed one by one, everything else as a whole. Unlike in a merge
// patch, null stands for nothing: it is left to be refused.
void Change(Json& whole, const Json& changes) {
    if (!whole.is_object() || !changes.is_object()) {
        whole = changes;
        return;
    }
    for (const auto& [key, value] : changes.items())
        Change(whole[key], value);
}

bool TakesRecord(const QuorvelAudioBlock& block) {
    if (!IsWithinLimits(block.typeId, block.data, block.dataSize)) return false;
    const auto live = CreateBlock(block.typeId, block.id);
    return live && live->SetParameterData(block.data, block.dataSize);
}

// What to say of a block whose record, by `consequence`, has no effect.
std::string RecordRemark(const QuorvelAudioBlock& block, const std::string& name,
                         const char* consequence) {
    if (TakesRecord(block)) return {};
    return std::string("; block ")
        .append(Quoted(name))
        .append(" refuses its record of ")
        .append(std::to_string(block.dataSize))
        .append(" bytes and ")
        .append(consequence);
}

// The profile as the configuration application knows it after each edit.
class EditReader {
  public:
    EditReader(const NamedProfile& start, std::uint32_t chain, std::filesystem::path editsFolder)
        : chainNumber(chain), folder(std::move(editsFolder)) {
        Adopt(start);
    }

    ProfileEdit Read(const Json& edit, const JsonPlace& place) {
        struct Action {
            const char* name;
            std::initializer_list<std::string_view> keys;
            void (EditReader::*read)(const Json&, const JsonPlace&, ProfileEdit&);
            bool changesShape;
        };
        static const Action kActions[] = {
            {"set", {"at", "set", "parameters", "data"}, &EditReader::ReadSet, false},
            {"add", {"at", "add", "links"}, &EditReader::ReadAdd, true},
            {"remove", {"at", "remove"}, &EditReader::ReadRemove, true},
            {"link", {"at", "link"}, &EditReader::ReadLink, true},
            {"unlink", {"at", "unlink"}, &EditReader::ReadUnlink, true},
            {"profile", {"at", "profile"}, &EditReader::ReadReplacement, true},
        };
        RequireObject(edit, place);
        for (const Action& action : kActions) {
            if (!FindMember(edit, action.name)) continue;
            RefuseUnknownKeys(edit, action.keys, place);
            ProfileEdit read{.atSeconds = RequireTime(edit, place), .words = action.name};
            (this->*action.read)(edit, place, read);
            if (action.changesShape) fault = FindFault();
            read.fault = fault;
            return read;
        }
        throw Refusal(place, "must set, add, remove, link, unlink or replace the profile");
    }

  private:
    void Adopt(const NamedProfile& named) {
        profile = named.profile;
        idOfName.clear();
        for (unsigned c = 0; c < profile.chains.Count(); ++c) {
            const QuorvelAudioBlocksChain& chain = profile.chains.Item(c);
            if (chain.id != chainNumber) continue;
            for (unsigned i = 0; i < chain.blocks.Count(); ++i)
                idOfName[named.names[c][i]] = chain.blocks.Item(i).id;
        }
    }

    // Whether records are taken is told with each; without them, blocks are made fast.
    std::string FindFault() {
        QuorvelAudioBlocksChain* const stored = profile.GetChain(chainNumber, false);
        if (!stored) return "no chain " + std::to_string(chainNumber) + ", " + kUnprocessed;
        QuorvelAudioBlocksChain chain(*stored);
        for (unsigned i = 0; i < chain.blocks.Count(); ++i)
            chain.blocks.Item(i).ClearData();
        const std::vector<std::string> names = NamesOf(chain);
        const auto faults = FindChainFaults(chain, names);
        if (faults.empty()) return {};
        // A link to nowhere is left out; what makes the graph invalid is told first.
        auto told = std::ranges::find_if(faults, [](const ChainFault& f) { return !f.link; });
        if (told == faults.end()) told = faults.begin();
        AudioGraph graph;
        BuildGraphFromChain(graph, &chain);
        if (graph.IsValid()) return "not in the graph: " + told->Text(names);
        return std::string("no valid graph, ")
            .append(kUnprocessed)
            .append(": ")
            .append(told->Text(names));
    }

    std::vector<std::string> NamesOf(const QuorvelAudioBlocksChain& chain) const {
        std::map<GUID, std::string, GuidLess> nameOfId;
        for (const auto& [name, id] : idOfName)
            nameOfId[id] = name;
        std::vector<std::string> names;
        for (unsigned i = 0; i < chain.blocks.Count(); ++i)
            names.push_back(nameOfId[chain.blocks.Item(i).id]);
        return names;
    }

    QuorvelAudioBlock& FindBlock(const Json& value, const JsonPlace& place) {
        const std::string& name = RequireText(value, place);
        const auto named = idOfName.find(name);
        const std::optional<GUID> id =
            named != idOfName.end() ? std::optional(named->second) : ParseGuid(name);
        QuorvelAudioBlock* const block = id ? profile.FindBlock(chainNumber, *id) : nullptr;
        if (!block) throw Refusal(place, "no block of the chain is called " + Quoted(name));
        return *block;
    }

    void ReadSet(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        QuorvelAudioBlock& block = FindBlock(edit.at("set"), place.Key("set"));
        AddWord(read, edit.at("set"));
        std::vector<std::uint8_t> record = ReadRecord(edit, place, block);
        QuorvelAudioBlock changed(block);
        changed.ClearData();
        changed.SetData(record.data(), static_cast<unsigned>(record.size()));
        read.remark = RecordRemark(changed, edit.at("set"), "keeps its values");
        read.requests.push_back(StoreBlock(changed));
        if (read.remark.empty()) block = changed;
    }

    static std::vector<std::uint8_t> ReadRecord(const Json& edit, const JsonPlace& place,
                                                const QuorvelAudioBlock& block) {
        if (const Json* data = FindMember(edit, "data")) {
            if (FindMember(edit, "parameters"))
                throw Refusal(place.Key("data"), "stands beside parameters");
            auto bytes = ParseHex(RequireText(*data, place.Key("data")));
            if (!bytes) throw Refusal(place.Key("data"), "must be pairs of hexadecimal digits");
            return std::move(*bytes);
        }
        const Json& changes = RequiredMember(edit, "parameters", place);
        const BlockFields* fields = FindBlockFields(block.typeId);
        if (!fields)
            throw Refusal(place.Key("parameters"), "this kind of block takes data, not parameters");
        RequireObject(changes, place.Key("parameters"));
        Json whole = Json::object();
        if (const auto now = WriteParameters({block.data, block.dataSize}, fields->record))
            whole = Json::parse(now->dump());
        Change(whole, changes);
        return ReadParameters(whole, fields->record, place.Key("parameters"));
    }

    // The block is read as a chain of its own, so that there is one reader of blocks.
    void ReadAdd(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        const Json chain = {{"number", chainNumber}, {"blocks", Json::array({edit.at("add")})}};
        NamedProfile lone;
        try {
            ReadProfile({{"id", GuidText(profile.id)}, {"chains", Json::array({chain})}}, lone);
        } catch (const ToolError& error) {
            throw Refusal(place.Key("add"), error.what());
        }
        QuorvelAudioBlock& added = lone.profile.GetChain(chainNumber, false)->blocks.Item(0);
        if (profile.FindBlock(chainNumber, added.id))
            throw Refusal(place.Key("add"), "another block of the chain has this id");
        const std::string& name = lone.names[0][0];
        if (!idOfName.emplace(name, added.id).second)
            throw Refusal(place.Key("add"), "another block of the chain is called " + Quoted(name));
        AddWord(read, edit.at("add").at("name"));
        QuorvelAudioBlocksChain& own = *profile.GetChain(chainNumber, true);
        own.blocks.Add(added);
        if (added.data) read.remark = RecordRemark(added, name, kDefaults);
        read.requests.push_back(StoreBlock(*profile.FindBlock(chainNumber, added.id)));
        if (const Json* links = FindMember(edit, "links")) ReadLinks(*links, place, read);
    }

    void ReadLinks(const Json& links, const JsonPlace& place, ProfileEdit& read) {
        const JsonPlace linksPlace = place.Key("links");
        RequireArray(links, linksPlace);
        for (std::size_t i = 0; i < links.size(); ++i)
            Connect(ReadEnds(links[i], linksPlace.At(i)), read);
    }

    void Connect(_QuorvelAudioBlockLink link, ProfileEdit& read) {
        auto& links = profile.GetChain(chainNumber, true)->links;
        if (!links.Find(link)) links.Add(link);
        read.requests.push_back([own = link](QuorvelAudioDevice& device) mutable {
            return device.SetProfileLink(&own);
        });
    }

    void ReadRemove(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        QuorvelAudioBlock block = FindBlock(edit.at("remove"), place.Key("remove"));
        AddWord(read, edit.at("remove"));
        read.requests.push_back([own = block](QuorvelAudioDevice& device) mutable {
            return device.RemoveAudioBlock(&own);
        });
        std::erase_if(idOfName, [&](const auto& entry) { return entry.second == block.id; });
        profile.RemoveBlock(chainNumber, block.id);
    }

    void ReadLink(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        Connect(ReadEnds(edit.at("link"), place.Key("link")), read);
        AddEndNames(edit.at("link"), read);
    }

    void ReadUnlink(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        _QuorvelAudioBlockLink link = ReadEnds(edit.at("unlink"), place.Key("unlink"));
        if (!profile.GetChain(chainNumber, true)->links.Remove(link))
            throw Refusal(place.Key("unlink"), "there is no such link");
        read.requests.push_back([own = link](QuorvelAudioDevice& device) mutable {
            return device.RemoveProfileLink(&own);
        });
        AddEndNames(edit.at("unlink"), read);
    }

    static void AddWord(ProfileEdit& read, const Json& word) {
        read.words.append(" ").append(word.get_ref<const std::string&>());
    }

    static void AddEndNames(const Json& ends, ProfileEdit& read) {
        AddWord(read, ends[0]);
        AddWord(read, ends[1]);
    }

    _QuorvelAudioBlockLink ReadEnds(const Json& value, const JsonPlace& place) {
        if (!value.is_array() || value.size() != 2)
            throw Refusal(place, "must be a pair of blocks");
        return {profile.id, chainNumber, FindBlock(value[0], place.At(0)).id,
                FindBlock(value[1], place.At(1)).id};
    }

    void ReadReplacement(const Json& edit, const JsonPlace& place, ProfileEdit& read) {
        const std::string& file = RequireText(edit.at("profile"), place.Key("profile"));
        AddWord(read, edit.at("profile"));
        NamedProfile loaded;
        LoadProfile((folder / file).string(), loaded);
        loaded.profile.ClearPaths(true);
        for (unsigned i = 0; i < profile.PathsCount(); ++i)
            loaded.profile.AddPath(profile.Path(i));
        loaded.profile = CopyProfileAs(profile.id, loaded.profile);
        Adopt(loaded);
        AddRecordRemarks(read);
        const auto shared = std::make_shared<QuorvelAudioProfile>(profile);
        read.requests.push_back(
            [shared](QuorvelAudioDevice& device) { return device.SetProfileData(shared.get()); });
    }

    void AddRecordRemarks(ProfileEdit& read) {
        const QuorvelAudioBlocksChain* const chain = profile.GetChain(chainNumber, false);
        if (!chain) return;
        const std::vector<std::string> names = NamesOf(*chain);
        for (unsigned i = 0; i < chain->blocks.Count(); ++i) {
            const QuorvelAudioBlock& block = chain->blocks.Item(i);
            if (block.data) read.remark += RecordRemark(block, names[i], kDefaults);
        }
    }

    static DriverRequest StoreBlock(const QuorvelAudioBlock& block) {
        return [own = block](QuorvelAudioDevice& device) mutable {
            return device.SetAudioBlock(&own);
        };
    }

    const std::uint32_t chainNumber;
    const std::filesystem::path folder;
    QuorvelAudioProfile profile;
    std::map<std::string, GUID> idOfName;
    std::string fault;  // see ProfileEdit
};

// The places of the edits, the earliest first.
std::vector<std::size_t> OrderInTime(const Json& document) {
    const JsonPlace place;
    RequireArray(document, place);
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < document.size(); ++i) {
        const JsonPlace own = place.At(i);
        RequireObject(document[i], own);
        RequireTime(document[i], own);
        order.push_back(i);
    }
    std::ranges::stable_sort(order, {},
                             [&](std::size_t i) { return document[i].at("at").get<double>(); });
    return order;
}

}  // namespace

std::vector<ProfileEdit> LoadEdits(const std::string& path, const NamedProfile& start,
                                   std::uint32_t chainNumber) try {
    const Json document = ParseJson(ReadFileBytes(path));
    EditReader reader(start, chainNumber, std::filesystem::path(path).parent_path());
    std::vector<ProfileEdit> edits;
    const JsonPlace place;
    for (const std::size_t i : OrderInTime(document))
        edits.push_back(reader.Read(document[i], place.At(i)));
    return edits;
} catch (const ToolError& error) {
    if (error.Status() != ExitStatus::kInvalid) throw;
    throw InvalidInput(path + ": " + error.what());
}

}  // namespace quorvel::tool
