// Following the driver: changes of the profile, and of the blocks and links of the object's chain.
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "apo/base_apo.h"
#include "apo/driver_event_payload.h"
#include "engine/graph_from_chain.h"
#include "engine/limits.h"
#include "engine/record_limits.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel {

using Event = QuorvelDriverEvents;

// The ids of a record about a block or a link.
struct BaseAPO::BlockEvent {
    explicit BlockEvent(const void* data)
        : profileId(ReadPayload<GUID>(data, payload::kProfileId)),
          blockId(ReadPayload<GUID>(data, payload::kBlockId)),
          destinationId(ReadPayload<GUID>(data, payload::kDestinationId)),
          chainId(ReadPayload<DWORD>(data, payload::kChainId)) {}

    GUID profileId;
    GUID blockId;  // of a link its source
    GUID destinationId;
    DWORD chainId;
};

void BaseAPO::OnQuorvelAudioDeviceEvent(SYSTEMTIME, QuorvelDriverEvents event, void* data) try {
    {
        const std::lock_guard lock(profileLock);
        ++driverEventCount;
    }
    switch (event) {
        case Event::ProfileDataChanged:
            return FetchProfile(ReadPayload<GUID>(data, payload::kProfileId));
        case Event::BlockAdded:
            return AddBlock(BlockEvent(data));
        case Event::BlockChanged:
            return ChangeBlock(BlockEvent(data));
        case Event::BlockRemoved:
            return RemoveBlock(BlockEvent(data));
        case Event::LinkAdded:
            return AddLink(BlockEvent(data));
        case Event::LinkRemoved:
            return RemoveLink(BlockEvent(data));
        default:
            return;
    }
} catch (const std::bad_alloc&) {
    // The profile holds the change; a graph that could not follow is built anew at the next lock.
    return;
}

bool BaseAPO::OnQuorvelAudioDeviceRemoval() {
    return true;
}

GUID BaseAPO::ProfileId() {
    const std::lock_guard lock(profileLock);
    return profile.id;
}

void BaseAPO::FetchProfile(const GUID& profileId) {
    if (profileId != ProfileId()) return;
    QuorvelAudioProfile fetched;
    fetched.id = profileId;
    if (device->GetProfileData(&fetched) != ERROR_SUCCESS) return;

    const std::lock_guard profileGuard(profileLock);
    if (profileId != profile.id) return;
    profile = std::move(fetched);
    const std::lock_guard processGuard(processLock);
    BuildGraphFromProfile();
}

// The chain that the event is about; null when it is not this object's, or cannot be made.
QuorvelAudioBlocksChain* BaseAPO::FindEditedChain(const BlockEvent& event) {
    if (event.profileId != profile.id || event.chainId != GetChainId()) return nullptr;
    return profile.GetChain(event.chainId, true);
}

// A block that came with the profile already is not held twice.
void BaseAPO::AddBlock(const BlockEvent& event) {
    if (event.profileId != ProfileId() || event.chainId != GetChainId()) return;
    QuorvelAudioProfile owner;
    owner.id = event.profileId;
    QuorvelAudioBlock block(&owner, nullptr, GUID_NULL, event.blockId);
    block.chainId = event.chainId;
    if (device->GetAudioBlock(&block) != ERROR_SUCCESS) return;

    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain || chain->FindBlock(event.blockId)) return;
    if (chain->blocks.Count() >= limits::kMostBlocks) return;
    block.profile = &profile;
    block.chain = chain;
    chain->blocks.Add(block);
    const std::lock_guard processGuard(processLock);
    AddChainBlock(graph, block);
}

void BaseAPO::ChangeBlock(const BlockEvent& event) {
    std::optional<QuorvelAudioBlock> fetched;
    {
        const std::lock_guard lock(profileLock);
        QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
        const QuorvelAudioBlock* const known = chain ? chain->FindBlock(event.blockId) : nullptr;
        if (!known) return;
        fetched.emplace(*known);
    }
    if (device->GetAudioBlock(&*fetched) != ERROR_SUCCESS) return;
    if (!IsWithinLimits(fetched->typeId, fetched->data, fetched->dataSize)) return;

    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    QuorvelAudioBlock* const known = chain ? chain->FindBlock(event.blockId) : nullptr;
    if (!known) return;
    *known = *fetched;
    const std::lock_guard processGuard(processLock);
    if (const auto block = graph.FindBlock(event.blockId))
        block->SetParameterData(fetched->data, fetched->dataSize);
}

// A block that was gone before it could be fetched was never held, but links to it may be: with a
// later block of the same id they would come to life.
void BaseAPO::RemoveBlock(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    if (!chain->FindBlock(event.blockId)) return chain->RemoveBlockLinks(event.blockId);
    chain->RemoveBlock(event.blockId);
    const std::lock_guard processGuard(processLock);
    graph.RemoveBlockById(event.blockId);
}

void BaseAPO::AddLink(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    _QuorvelAudioBlockLink link{event.profileId, chain->id, event.blockId, event.destinationId};
    const std::lock_guard processGuard(processLock);
    if (!chain->links.Find(link)) {
        if (chain->links.Count() >= limits::kMostLinks) return;
        chain->links.Add(link);
    }
    graph.LinkById(event.blockId, event.destinationId);
}

void BaseAPO::RemoveLink(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    _QuorvelAudioBlockLink link{event.profileId, chain->id, event.blockId, event.destinationId};
    const std::lock_guard processGuard(processLock);
    chain->links.Remove(link);
    graph.UnlinkById(event.blockId, event.destinationId);
}

}  // namespace quorvel
