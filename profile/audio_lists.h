// The four lists of the profile model.
#pragma once

#include "profile/items_list.h"
#include "profile/quorvel_audio_block_link.h"

class QuorvelAudioBlock;
class QuorvelAudioBlocksChain;

// Each copies, moves and destroys as ItemsList does. Packed sizes are in bytes and saturate at
// 2^32 - 1, which no record can reach.

struct QuorvelAudioBlocksList : ItemsList<QuorvelAudioBlock> {
    // Size of the blocks section: header and block records.
    unsigned GetPackedSize() const;

    // Whether the block factory knows the kind of every block. An empty list is valid.
    bool Validate() const;
};

struct QuorvelAudioBlocksLinksList : ItemsList<_QuorvelAudioBlockLink> {
    // Size of the links section: header and link records.
    unsigned GetPackedSize() const;
};

struct QuorvelAudioBlocksChainsList : ItemsList<QuorvelAudioBlocksChain> {
    // Size of all chain records.
    unsigned GetPackedSize() const;
};

// Ids of profiles, as the driver reports them.
struct QuorvelAudioProfilesList : ItemsList<GUID> {};
