#include "profile/quorvel_audio_block.h"

#include <cstdlib>
#include <cstring>

#include "profile/fresh_guid.h"
#include "profile/packed_records.h"
#include "profile/packed_sections.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

QuorvelAudioBlock::QuorvelAudioBlock(QuorvelAudioProfile* owner,
                                     QuorvelAudioBlocksChain* ownerChain, const GUID& kind)
    : QuorvelAudioBlock(owner, ownerChain, kind, GUID{}) {
    quorvel::MakeFreshGuid(id);
}

QuorvelAudioBlock::QuorvelAudioBlock(QuorvelAudioProfile* owner,
                                     QuorvelAudioBlocksChain* ownerChain, const GUID& kind,
                                     const GUID& blockId)
    : id(blockId),
      typeId(kind),
      profileId(owner->id),
      chainId(ownerChain ? ownerChain->id : 0),
      profile(owner),
      chain(ownerChain) {}

QuorvelAudioBlock::QuorvelAudioBlock(const QuorvelAudioBlock& other) {
    *this = other;
}

QuorvelAudioBlock& QuorvelAudioBlock::operator=(const QuorvelAudioBlock& other) {
    if (this == &other) return *this;
    id = other.id;
    typeId = other.typeId;
    profileId = other.profileId;
    chainId = other.chainId;
    profile = other.profile;
    ClearData();
    if (other.data) SetData(other.data, other.dataSize);
    return *this;
}

QuorvelAudioBlock::~QuorvelAudioBlock() {
    ClearData();
}

bool QuorvelAudioBlock::operator==(const QuorvelAudioBlock& other) {
    return id == other.id && profileId == other.profileId;
}

unsigned QuorvelAudioBlock::DataSize() const {
    return dataSize;
}

void* QuorvelAudioBlock::Data() const {
    return data;
}

QuorvelAudioProfile* QuorvelAudioBlock::GetProfile() const {
    return profile;
}

void QuorvelAudioBlock::SetData(void* bytes, unsigned size) {
    if (dataCapacity < size) {
        ClearData();
        data = static_cast<std::uint8_t*>(std::malloc(size));
        if (!data) return;
        dataCapacity = size;
    }
    if (!bytes || size == 0) return;
    std::memmove(data, bytes, size);
    dataSize = size;
}

void QuorvelAudioBlock::ClearData() {
    std::free(data);
    data = nullptr;
    dataSize = 0;
    dataCapacity = 0;
}

unsigned QuorvelAudioBlock::GetPackedSize() const {
    return quorvel::AddPackedSizes(dataSize, sizeof(_QuorvelAudioBlockInfo));
}

unsigned QuorvelAudioBlock::GetPackedSize_1() const {
    return quorvel::AddPackedSizes(dataSize, sizeof(quorvel::BlockHeader1));
}

void QuorvelAudioBlock::Pack(_QuorvelAudioBlockInfo* out) const {
    const std::size_t size = sizeof(*out) + std::size_t{dataSize};
    quorvel::ByteWriter writer({reinterpret_cast<std::byte*>(out), size});
    quorvel::WriteBlock(writer, *this);
}

void QuorvelAudioBlock::Unpack(_QuorvelAudioBlockInfo* in) {
    const auto* bytes = reinterpret_cast<const std::byte*>(in);
    quorvel::ByteReader record({bytes, sizeof(*in) + std::size_t{in->dataSize}});
    quorvel::ReadBlock(record, *this);
}

void QuorvelAudioBlock::Unpack_1(void* in) {
    const auto* header = static_cast<const quorvel::BlockHeader1*>(in);
    const auto* bytes = static_cast<const std::byte*>(in);
    quorvel::ByteReader record({bytes, sizeof(*header) + std::size_t{header->dataSize}});
    quorvel::ReadBlock1(record, *this);
}
