// The four lists of the profile model.
#pragma once

#include "profile/items_list.h"
#include "profile/quorvel_audio_block_link.h"

class QuorvelAudioBlock;
class QuorvelAudioBlocksChain;

// Each copies, moves and destroys as ItemsList does, and none of its members is inline: other
// programs link against them. Packed sizes are in bytes and saturate at
// 2^32 - 1, which no record can reach.

struct QuorvelAudioBlocksList : ItemsList<QuorvelAudioBlock> {
    QuorvelAudioBlocksList();
    QuorvelAudioBlocksList(const QuorvelAudioBlocksList& other);
    QuorvelAudioBlocksList(QuorvelAudioBlocksList&& other) noexcept;
    QuorvelAudioBlocksList& operator=(const QuorvelAudioBlocksList& other);
    QuorvelAudioBlocksList& operator=(QuorvelAudioBlocksList&& other) noexcept;
    ~QuorvelAudioBlocksList();

    // Size of the blocks section: header and block records.
    unsigned GetPackedSize();

    // Whether the block factory knows the kind of every block. An empty list is valid.
    bool Validate();
};

struct QuorvelAudioBlocksLinksList : ItemsList<_QuorvelAudioBlockLink> {
    QuorvelAudioBlocksLinksList();
    QuorvelAudioBlocksLinksList(const QuorvelAudioBlocksLinksList& other);
    QuorvelAudioBlocksLinksList(QuorvelAudioBlocksLinksList&& other) noexcept;
    QuorvelAudioBlocksLinksList& operator=(const QuorvelAudioBlocksLinksList& other);
    QuorvelAudioBlocksLinksList& operator=(QuorvelAudioBlocksLinksList&& other) noexcept;
    ~QuorvelAudioBlocksLinksList();

    // Size of the links section: header and link records.
    unsigned GetPackedSize();
};

struct QuorvelAudioBlocksChainsList : ItemsList<QuorvelAudioBlocksChain> {
    QuorvelAudioBlocksChainsList();
    QuorvelAudioBlocksChainsList(const QuorvelAudioBlocksChainsList& other);
    QuorvelAudioBlocksChainsList(QuorvelAudioBlocksChainsList&& other) noexcept;
    QuorvelAudioBlocksChainsList& operator=(const QuorvelAudioBlocksChainsList& other);
    QuorvelAudioBlocksChainsList& operator=(QuorvelAudioBlocksChainsList&& other) noexcept;
    ~QuorvelAudioBlocksChainsList();

    // Size of all chain records.
    unsigned GetPackedSize();
};

// Ids of profiles, as the driver reports them.
struct QuorvelAudioProfilesList : ItemsList<GUID> {
    QuorvelAudioProfilesList();
    QuorvelAudioProfilesList(const QuorvelAudioProfilesList& other);
    QuorvelAudioProfilesList(QuorvelAudioProfilesList&& other) noexcept;
    QuorvelAudioProfilesList& operator=(const QuorvelAudioProfilesList& other);
    QuorvelAudioProfilesList& operator=(QuorvelAudioProfilesList&& other) noexcept;
    ~QuorvelAudioProfilesList();
};
