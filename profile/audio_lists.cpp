#include "profile/audio_lists.h"

#include "engine/block_factory.h"
#include "profile/packed_records.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

unsigned QuorvelAudioBlocksList::GetPackedSize() const {
    std::uint64_t size = sizeof(_QuorvelAudioProfileBlocks);
    for (unsigned i = 0; i < count; ++i)
        size += items[i].GetPackedSize();
    return quorvel::SaturatePackedSize(size);
}

bool QuorvelAudioBlocksList::Validate() const {
    for (unsigned i = 0; i < count; ++i)
        if (!quorvel::IsKnownBlockType(items[i].typeId)) return false;
    return true;
}

unsigned QuorvelAudioBlocksLinksList::GetPackedSize() const {
    return quorvel::SaturatePackedSize(sizeof(_QuorvelAudioProfileBlocksLinks) +
                                       std::uint64_t{count} * sizeof(_QuorvelAudioBlockLink));
}

unsigned QuorvelAudioBlocksChainsList::GetPackedSize() const {
    std::uint64_t size = 0;
    for (unsigned i = 0; i < count; ++i)
        size += items[i].GetPackedSize();
    return quorvel::SaturatePackedSize(size);
}
