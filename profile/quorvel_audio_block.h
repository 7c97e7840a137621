// The description of one DSP block in a profile.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

class QuorvelAudioBlocksChain;
class QuorvelAudioProfile;
struct _QuorvelAudioBlockInfo;

// A kind, an identity and an opaque parameter record. The record lives on the C runtime heap and
// belongs to the block. A block is identified by (id, profileId). No member throws; a block is not
// synchronised.
class QuorvelAudioBlock {
  public:
    // A block of the kind `kind` with a fresh id (null when none can be made) and no data. The
    // block belongs to `owner`, which must not be null, and to `ownerChain`, which may be.
    QuorvelAudioBlock(QuorvelAudioProfile* owner, QuorvelAudioBlocksChain* ownerChain,
                      const GUID& kind);

    // The same with the id `blockId`.
    QuorvelAudioBlock(QuorvelAudioProfile* owner, QuorvelAudioBlocksChain* ownerChain,
                      const GUID& kind, const GUID& blockId);

    // Copies everything but `chain`: null in a new block, unchanged in an assigned one. When the
    // data cannot be allocated the copy has none.
    QuorvelAudioBlock(const QuorvelAudioBlock& other);
    QuorvelAudioBlock& operator=(const QuorvelAudioBlock& other);

    virtual ~QuorvelAudioBlock();

    // Same id and same profileId.
    bool operator==(const QuorvelAudioBlock& other);

    unsigned DataSize() const;
    void* Data() const;
    QuorvelAudioProfile* GetProfile() const;

    // Copies `size` bytes into the block. The buffer only grows, to the exact size asked for; when
    // it must grow and cannot, the block is left without data. A null `bytes` or a `size` of 0
    // makes room and copies nothing, so DataSize() stays (0 when the buffer was replaced):
    // SetData(nullptr, 0) does not empty a block, ClearData does. `bytes` may lie in the block's
    // own data.
    void SetData(void* bytes, unsigned size);

    // Releases the data.
    void ClearData();

    // Size of the packed record in bytes, current layout and version 1; saturates at 2^32 - 1.
    unsigned GetPackedSize() const;
    unsigned GetPackedSize_1() const;

    // Writes the packed record, GetPackedSize() bytes. Of a block whose `data` is null the data
    // bytes are left as they are.
    void Pack(_QuorvelAudioBlockInfo* out) const;

    // Takes ids and data from a packed record of the current layout, or of version 1, which has no
    // chainId and leaves the block's alone. They TRUST the record's own dataSize: for records
    // whose bytes the caller has counted. ReadBlock of profile/packed_sections.h is the bounded
    // form.
    void Unpack(_QuorvelAudioBlockInfo* in);
    void Unpack_1(void* in);

    GUID id{};                                 // identity of this block; links refer to it
    GUID typeId{};                             // kind of block, key of the block factory
    GUID profileId{};                          // id of the owning profile
    std::uint32_t chainId = 0;                 // id of the owning chain, 0 if none
    std::uint32_t dataSize = 0;                // bytes of parameter data
    std::uint32_t dataCapacity = 0;            // bytes allocated at `data`
    std::uint8_t* data = nullptr;              // parameter record, owned, C runtime heap
    QuorvelAudioProfile* profile = nullptr;    // owning profile, not owned
    QuorvelAudioBlocksChain* chain = nullptr;  // chain given at construction, not owned
};
