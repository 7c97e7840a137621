// One numbered chain of a profile: a small processing graph of blocks and links.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"
#include "profile/audio_lists.h"

class QuorvelAudioProfile;

// Nothing keeps links consistent with blocks except RemoveBlock. No member throws; a chain is not
// synchronised.
class QuorvelAudioBlocksChain {
  public:
    // An empty chain. `owner` must not be null.
    QuorvelAudioBlocksChain(QuorvelAudioProfile* owner, DWORD chainId);

    // Both copy: lists, number and `profile`; `profileId` is read afresh from that profile. A list
    // that cannot be allocated is left empty.
    QuorvelAudioBlocksChain(const QuorvelAudioBlocksChain& other);
    QuorvelAudioBlocksChain(QuorvelAudioBlocksChain&& other) noexcept;

    // The same onto an existing chain, whose old blocks are destroyed.
    QuorvelAudioBlocksChain& operator=(const QuorvelAudioBlocksChain& other);

    // The same, but takes the arrays of `other`, whose lists are left empty.
    QuorvelAudioBlocksChain& operator=(QuorvelAudioBlocksChain&& other) noexcept;

    ~QuorvelAudioBlocksChain();

    // Same number.
    bool operator==(const QuorvelAudioBlocksChain& other);

    QuorvelAudioProfile* Profile() const;

    // The block with that id whose profileId is the present id of the chain's profile; null if
    // there is none.
    QuorvelAudioBlock* FindBlock(const GUID& blockId);

    // Removes every link from or to that block, whether the block exists or not.
    void RemoveBlockLinks(const GUID& blockId);

    // Removes the block's links, then destroys the block that FindBlock finds. `blockId` may lie
    // inside this chain.
    void RemoveBlock(const GUID& blockId);

    // Size of the chain record in bytes; saturates at 2^32 - 1.
    unsigned GetPackedSize();

    DWORD id = 0;                            // chain number, unique within the profile
    GUID profileId{};                        // the profile's id when the chain was made or assigned
    QuorvelAudioBlocksList blocks;           // in the order in which a graph adds them
    QuorvelAudioBlocksLinksList links;       // in the order in which a graph makes them
    QuorvelAudioProfile* profile = nullptr;  // owning profile, not owned

  private:
    // Takes number and profile of `other`; reads the profile's id.
    void CopyIdentity(const QuorvelAudioBlocksChain& other);
    unsigned FindBlockPos(const GUID& blockId);
};
