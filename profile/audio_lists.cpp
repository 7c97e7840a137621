#include "profile/audio_lists.h"

#include "kinds/block_kinds.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

QuorvelAudioBlocksList::QuorvelAudioBlocksList() = default;
QuorvelAudioBlocksList::QuorvelAudioBlocksList(const QuorvelAudioBlocksList& other) = default;
QuorvelAudioBlocksList::QuorvelAudioBlocksList(QuorvelAudioBlocksList&& other) noexcept = default;
QuorvelAudioBlocksList& QuorvelAudioBlocksList::operator=(const QuorvelAudioBlocksList& other) =
    default;
QuorvelAudioBlocksList& QuorvelAudioBlocksList::operator=(QuorvelAudioBlocksList&& other) noexcept =
    default;
QuorvelAudioBlocksList::~QuorvelAudioBlocksList() = default;

QuorvelAudioBlocksLinksList::QuorvelAudioBlocksLinksList() = default;
QuorvelAudioBlocksLinksList::QuorvelAudioBlocksLinksList(const QuorvelAudioBlocksLinksList& other) =
    default;
QuorvelAudioBlocksLinksList::QuorvelAudioBlocksLinksList(
    QuorvelAudioBlocksLinksList&& other) noexcept = default;
QuorvelAudioBlocksLinksList& QuorvelAudioBlocksLinksList::operator=(
    const QuorvelAudioBlocksLinksList& other) = default;
QuorvelAudioBlocksLinksList& QuorvelAudioBlocksLinksList::operator=(
    QuorvelAudioBlocksLinksList&& other) noexcept = default;
QuorvelAudioBlocksLinksList::~QuorvelAudioBlocksLinksList() = default;

QuorvelAudioBlocksChainsList::QuorvelAudioBlocksChainsList() = default;
QuorvelAudioBlocksChainsList::QuorvelAudioBlocksChainsList(
    const QuorvelAudioBlocksChainsList& other) = default;
QuorvelAudioBlocksChainsList::QuorvelAudioBlocksChainsList(
    QuorvelAudioBlocksChainsList&& other) noexcept = default;
QuorvelAudioBlocksChainsList& QuorvelAudioBlocksChainsList::operator=(
    const QuorvelAudioBlocksChainsList& other) = default;
QuorvelAudioBlocksChainsList& QuorvelAudioBlocksChainsList::operator=(
    QuorvelAudioBlocksChainsList&& other) noexcept = default;
QuorvelAudioBlocksChainsList::~QuorvelAudioBlocksChainsList() = default;

QuorvelAudioProfilesList::QuorvelAudioProfilesList() = default;
QuorvelAudioProfilesList::QuorvelAudioProfilesList(const QuorvelAudioProfilesList& other) = default;
QuorvelAudioProfilesList::QuorvelAudioProfilesList(QuorvelAudioProfilesList&& other) noexcept =
    default;
QuorvelAudioProfilesList& QuorvelAudioProfilesList::operator=(
    const QuorvelAudioProfilesList& other) = default;
QuorvelAudioProfilesList& QuorvelAudioProfilesList::operator=(
    QuorvelAudioProfilesList&& other) noexcept = default;
QuorvelAudioProfilesList::~QuorvelAudioProfilesList() = default;

unsigned QuorvelAudioBlocksList::GetPackedSize() {
    return quorvel::PackedSize(*this);
}

bool QuorvelAudioBlocksList::Validate() {
    for (unsigned i = 0; i < count; ++i)
        if (!quorvel::IsKnownBlockType(items[i].typeId)) return false;
    return true;
}

unsigned QuorvelAudioBlocksLinksList::GetPackedSize() {
    return quorvel::PackedSize(*this);
}

unsigned QuorvelAudioBlocksChainsList::GetPackedSize() {
    return quorvel::PackedSize(*this);
}
