#include "profile/quorvel_audio_blocks_chain.h"

#include <utility>

#include "profile/make_room.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_profile.h"

QuorvelAudioBlocksChain::QuorvelAudioBlocksChain(QuorvelAudioProfile* owner, DWORD chainId)
    : id(chainId), profileId(owner->id), profile(owner) {}

QuorvelAudioBlocksChain::QuorvelAudioBlocksChain(const QuorvelAudioBlocksChain& other) {
    *this = other;
}

QuorvelAudioBlocksChain::QuorvelAudioBlocksChain(QuorvelAudioBlocksChain&& other) noexcept {
    *this = std::as_const(other);
}

QuorvelAudioBlocksChain& QuorvelAudioBlocksChain::operator=(const QuorvelAudioBlocksChain& other) {
    CopyIdentity(other);
    quorvel::ReplaceByCopy(blocks, other.blocks);
    quorvel::ReplaceByCopy(links, other.links);
    return *this;
}

QuorvelAudioBlocksChain& QuorvelAudioBlocksChain::operator=(
    QuorvelAudioBlocksChain&& other) noexcept {
    CopyIdentity(other);
    blocks = std::move(other.blocks);
    links = std::move(other.links);
    return *this;
}

QuorvelAudioBlocksChain::~QuorvelAudioBlocksChain() = default;

bool QuorvelAudioBlocksChain::operator==(const QuorvelAudioBlocksChain& other) {
    return id == other.id;
}

QuorvelAudioProfile* QuorvelAudioBlocksChain::Profile() const {
    return profile;
}

void QuorvelAudioBlocksChain::CopyIdentity(const QuorvelAudioBlocksChain& other) {
    profile = other.profile;
    profileId = profile->id;
    id = other.id;
}

unsigned QuorvelAudioBlocksChain::FindBlockPos(const GUID& blockId) {
    return blocks.FindPos(QuorvelAudioBlock(profile, nullptr, GUID{}, blockId));
}

QuorvelAudioBlock* QuorvelAudioBlocksChain::FindBlock(const GUID& blockId) {
    const unsigned position = FindBlockPos(blockId);
    return position == blocks.invalidPos ? nullptr : &blocks.Item(position);
}

void QuorvelAudioBlocksChain::RemoveBlockLinks(const GUID& blockId) {
    const GUID end = blockId;  // `blockId` may lie in a link that moves
    for (unsigned i = links.Count(); i-- > 0;) {
        const _QuorvelAudioBlockLink& link = links.Item(i);
        if (link.sourceBlockId == end || link.destinationBlockId == end) links.RemoveAt(i);
    }
}

void QuorvelAudioBlocksChain::RemoveBlock(const GUID& blockId) {
    const GUID removedId = blockId;
    RemoveBlockLinks(removedId);
    blocks.RemoveAt(FindBlockPos(removedId));
}

unsigned QuorvelAudioBlocksChain::GetPackedSize() {
    return quorvel::PackedSize(*this);
}
