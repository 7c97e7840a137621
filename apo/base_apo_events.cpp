// Following the driver: changes of the profile, and of the blocks and links of the object's chain.
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "apo/base_apo.h"
#include "apo/driver_event_payload.h"
#include "engine/block_factory.h"
#include "engine/graph_from_chain.h"
#include "engine/limits.h"
#include "engine/record_limits.h"
#include "kinds/block_kinds.h"
#include "profile/make_room.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel {

using Event = QuorvelDriverEvents;

namespace {

// Gives `block` the parameter record of `other`, which receives that of `block`: a copy might find
// no memory.
void TakeData(QuorvelAudioBlock& block, QuorvelAudioBlock& other) {
    std::swap(block.data, other.data);
    std::swap(block.dataSize, other.dataSize);
    std::swap(block.dataCapacity, other.dataCapacity);
}

// Appends a block with the ids of `model` and without a record. Null without memory.
QuorvelAudioBlock* AddEmptyBlock(QuorvelAudioBlocksChain& chain, const QuorvelAudioBlock& model) {
    QuorvelAudioBlock block(chain.profile, &chain, model.typeId, model.id);
    return TryAdd(chain.blocks, block);
}

}  // namespace

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
    return;  // before anything changed
}

bool BaseAPO::OnQuorvelAudioDeviceRemoval() {
    return true;
}

GUID BaseAPO::ProfileId() {
    const std::lock_guard lock(profileLock);
    return profile.id;
}

template <typename Change, typename Undo>
void BaseAPO::ChangeGraph(Change&& change, Undo&& undo) noexcept {
    const std::lock_guard processGuard(processLock);
    const bool isBehind = std::exchange(isProfilePending, true);
    try {
        graph.ChangeWhole(
            [&] {
                if (isBehind)
                    BuildGraphFromProfile();
                else
                    change();
            },
            undo);
        isProfilePending = false;
    } catch (const std::exception&) {
    }
}

void BaseAPO::RebuildGraph() noexcept {
    const std::lock_guard profileGuard(profileLock);
    ChangeGraph([&] { BuildGraphFromProfile(); });
}

void BaseAPO::FetchProfile(const GUID& profileId) {
    if (profileId != ProfileId()) return;
    QuorvelAudioProfile fetched;
    fetched.id = profileId;
    if (device->GetProfileData(&fetched) != ERROR_SUCCESS) return;

    const std::lock_guard profileGuard(profileLock);
    if (profileId != profile.id) return;
    profile = std::move(fetched);
    ChangeGraph([&] { BuildGraphFromProfile(); });
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
    QuorvelAudioBlock* const added = AddEmptyBlock(*chain, block);
    if (!added) return;
    TakeData(*added, block);
    ChangeGraph([&] { AddChainBlock(graph, *added); });
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
    if (!known || !IsKnownBlockType(fetched->typeId)) return;
    if (known->typeId == fetched->typeId) return ChangeParameters(*known, *fetched);
    known->typeId = fetched->typeId;
    TakeData(*known, *fetched);
    ReplaceBlock(*known);
}

// The running block decides whether it takes the record, or a new one where none runs. A refused
// record is not kept: the next lock plays what was taken last.
void BaseAPO::ChangeParameters(QuorvelAudioBlock& known, QuorvelAudioBlock& fetched) {
    const auto running = FindRunningBlock(known.id);
    bool isTaken = true;
    if (!running) {
        const auto trial = CreateBlock(known.typeId, known.id);
        if (!trial || !trial->SetParameterData(fetched.data, fetched.dataSize)) return;
    }
    TakeData(known, fetched);
    ChangeGraph(
        [&] {
            if (running) isTaken = running->SetParameterData(known.data, known.dataSize);
        },
        [&]() noexcept {
            if (running) running->SetParameterData(fetched.data, fetched.dataSize);
        });
    if (!isTaken && !isProfilePending) TakeData(known, fetched);
}

// The block of the graph as long as that is up to date; empty when there is none.
BlockReference BaseAPO::FindRunningBlock(const GUID& blockId) {
    const std::lock_guard lock(processLock);
    return isProfilePending ? BlockReference() : graph.FindBlock(blockId);
}

// A block of a kind that could not be made had no place in the graph, nor had its links.
void BaseAPO::ReplaceBlock(const QuorvelAudioBlock& block) {
    ChangeGraph([&] {
        if (!graph.ReplaceBlock(block.typeId, block.data, block.dataSize, block.id))
            BuildGraphFromProfile();
    });
}

// A block that was gone before it could be fetched was never held, but links to it may be: with a
// later block of the same id they would come to life.
void BaseAPO::RemoveBlock(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    if (!chain->FindBlock(event.blockId)) return chain->RemoveBlockLinks(event.blockId);
    chain->RemoveBlock(event.blockId);
    ChangeGraph([&] { graph.RemoveBlockById(event.blockId); });
}

void BaseAPO::AddLink(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    _QuorvelAudioBlockLink link{event.profileId, chain->id, event.blockId, event.destinationId};
    if (!chain->links.Find(link)) {
        if (chain->links.Count() >= limits::kMostLinks) return;
        if (!TryAdd(chain->links, link)) return;
    }
    ChangeGraph([&] { graph.LinkById(event.blockId, event.destinationId); });
}

void BaseAPO::RemoveLink(const BlockEvent& event) {
    const std::lock_guard profileGuard(profileLock);
    QuorvelAudioBlocksChain* const chain = FindEditedChain(event);
    if (!chain) return;
    _QuorvelAudioBlockLink link{event.profileId, chain->id, event.blockId, event.destinationId};
    chain->links.Remove(link);
    ChangeGraph([&] { graph.UnlinkById(event.blockId, event.destinationId); });
}

}  // namespace quorvel
