#include "platform/simulation/driver/profile_store.h"

#include <algorithm>
#include <utility>

namespace quorvel::simulation {
namespace {

auto FindBlockPlace(auto& blocks, const Id& id) {
    return std::ranges::find(blocks, id, [](const Bytes& block) { return BlockIdOf(block); });
}

// A link is known by its ends within a chain.
auto FindLinkPlace(std::vector<Bytes>& links, ByteSpan link) {
    return std::ranges::find_if(links, [link](const Bytes& other) {
        return LinkSourceOf(other) == LinkSourceOf(link) &&
               LinkDestinationOf(other) == LinkDestinationOf(link);
    });
}

void EraseLinksOf(std::vector<Bytes>& links, const Id& block) {
    std::erase_if(links, [&block](const Bytes& link) {
        return LinkSourceOf(link) == block || LinkDestinationOf(link) == block;
    });
}

DriverEvent AboutBlock(DriverEvent event, std::uint32_t chain, ByteSpan block) {
    event.chain = chain;
    event.first = BlockIdOf(block);
    event.second = BlockTypeOf(block);
    return event;
}

DriverEvent AboutLink(DriverEvent event, std::uint32_t chain, ByteSpan link) {
    event.chain = chain;
    event.first = LinkSourceOf(link);
    event.second = LinkDestinationOf(link);
    return event;
}

}  // namespace

const Bytes* FindBlock(const StoredChain& chain, const Id& id) {
    const auto block = FindBlockPlace(chain.blocks, id);
    return block == chain.blocks.end() ? nullptr : &*block;
}

const StoredProfile* ProfileStore::Find(const Id& id) const {
    return const_cast<ProfileStore*>(this)->FindForChange(id);
}

StoredProfile* ProfileStore::FindForChange(const Id& id) {
    const auto profile = std::ranges::find(profiles, id, &StoredProfile::id);
    return profile == profiles.end() ? nullptr : &*profile;
}

DriverEvent ProfileStore::Changed(StoredProfile& profile, EventKind kind) {
    profile.cookie = ++lastCookie;
    return {.kind = kind, .profile = profile.id, .cookie = profile.cookie};
}

std::uint32_t ProfileStore::Put(StoredProfile profile, DriverEvents& events) {
    StoredProfile* place = FindForChange(profile.id);
    const bool isNew = !place;
    if (isNew) place = &profiles.emplace_back();
    const bool newPaths = !isNew && place->strings != profile.strings;
    *place = std::move(profile);
    DriverEvent event = Changed(*place, EventKind::kProfileAdded);
    if (isNew) events.push_back(event);
    event.kind = EventKind::kProfileDataChanged;
    events.push_back(event);
    event.kind = EventKind::kPathsChanged;
    if (newPaths) events.push_back(event);
    return status::kSuccess;
}

std::uint32_t ProfileStore::Remove(const Id& id, DriverEvents& events) {
    StoredProfile* profile = FindForChange(id);
    if (!profile) return status::kNotFound;
    events.push_back(Changed(*profile, EventKind::kProfileRemoved));
    profiles.erase(profiles.begin() + (profile - profiles.data()));
    return status::kSuccess;
}

std::uint32_t ProfileStore::Clear(DriverEvents& events) {
    if (profiles.empty()) return status::kSuccess;
    profiles.clear();
    events.push_back({.kind = EventKind::kProfileRemoved});
    return status::kSuccess;
}

std::uint32_t ProfileStore::SetPaths(Paths paths, DriverEvents& events) {
    StoredProfile* profile = FindForChange(paths.profile);
    if (!profile) return status::kNotFound;
    profile->strings = std::move(paths.strings);
    events.push_back(Changed(*profile, EventKind::kPathsChanged));
    return status::kSuccess;
}

std::uint32_t ProfileStore::SetSection(Section section, RecordKind kind, DriverEvents& events) {
    StoredProfile* profile = FindForChange(section.profile);
    if (!profile) return status::kNotFound;
    profile->NeedChain(section.chain).Records(kind) = std::move(section.records);
    events.push_back(Changed(*profile, EventKind::kProfileDataChanged));
    return status::kSuccess;
}

std::uint32_t ProfileStore::SetBlock(ByteSpan record, DriverEvents& events) {
    StoredProfile* profile = FindForChange(LoadId(record, 32));
    if (!profile) return status::kNotFound;
    StoredChain& chain = profile->NeedChain(LoadWord(record, 48));
    const auto place = FindBlockPlace(chain.blocks, BlockIdOf(record));
    const bool isNew = place == chain.blocks.end();
    Bytes& block = isNew ? chain.blocks.emplace_back() : *place;
    block.assign(record.begin(), record.end());
    const EventKind kind = isNew ? EventKind::kBlockAdded : EventKind::kBlockChanged;
    events.push_back(AboutBlock(Changed(*profile, kind), chain.number, block));
    return status::kSuccess;
}

std::uint32_t ProfileStore::RemoveBlock(ByteSpan header, DriverEvents& events) {
    StoredProfile* profile = FindForChange(LoadId(header, 32));
    StoredChain* chain = profile ? profile->FindChain(LoadWord(header, 48)) : nullptr;
    if (!chain) return status::kNotFound;
    const auto block = FindBlockPlace(chain->blocks, BlockIdOf(header));
    if (block == chain->blocks.end()) return status::kNotFound;
    const DriverEvent event = Changed(*profile, EventKind::kBlockRemoved);
    events.push_back(AboutBlock(event, chain->number, *block));
    EraseLinksOf(chain->links, BlockIdOf(header));
    chain->blocks.erase(block);
    return status::kSuccess;
}

std::uint32_t ProfileStore::SetLink(ByteSpan record, DriverEvents& events) {
    StoredProfile* profile = FindForChange(LoadId(record, 0));
    StoredChain* chain = profile ? profile->FindChain(LoadWord(record, 16)) : nullptr;
    if (!chain) return status::kNotFound;
    if (!FindBlock(*chain, LinkSourceOf(record)) || !FindBlock(*chain, LinkDestinationOf(record)))
        return status::kNotFound;
    if (FindLinkPlace(chain->links, record) != chain->links.end()) return status::kSuccess;
    chain->links.emplace_back(record.begin(), record.end());
    const DriverEvent event = Changed(*profile, EventKind::kLinkAdded);
    events.push_back(AboutLink(event, chain->number, record));
    return status::kSuccess;
}

std::uint32_t ProfileStore::RemoveLink(ByteSpan record, DriverEvents& events) {
    StoredProfile* profile = FindForChange(LoadId(record, 0));
    StoredChain* chain = profile ? profile->FindChain(LoadWord(record, 16)) : nullptr;
    if (!chain) return status::kNotFound;
    const auto link = FindLinkPlace(chain->links, record);
    if (link == chain->links.end()) return status::kNotFound;
    chain->links.erase(link);
    const DriverEvent event = Changed(*profile, EventKind::kLinkRemoved);
    events.push_back(AboutLink(event, chain->number, record));
    return status::kSuccess;
}

}  // namespace quorvel::simulation
