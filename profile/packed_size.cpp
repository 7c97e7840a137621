#include "profile/packed_size.h"

#include "profile/packed_records.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "profile/wide_string.h"

namespace quorvel {

std::uint32_t PackedSize(const QuorvelAudioBlocksList& blocks) {
    std::uint64_t size = sizeof(_QuorvelAudioProfileBlocks);
    for (unsigned i = 0; i < blocks.Count(); ++i)
        size += blocks.Item(i).GetPackedSize();
    return SaturatePackedSize(size);
}

std::uint32_t PackedSize(const QuorvelAudioBlocksLinksList& links) {
    return SaturatePackedSize(sizeof(_QuorvelAudioProfileBlocksLinks) +
                              std::uint64_t{links.Count()} * sizeof(_QuorvelAudioBlockLink));
}

std::uint32_t PackedSize(const QuorvelAudioBlocksChain& chain) {
    return SaturatePackedSize(std::uint64_t{sizeof(_QuorvelProfileChainData)} +
                              PackedSize(chain.blocks) + PackedSize(chain.links));
}

std::uint32_t PackedSize(const QuorvelAudioBlocksChainsList& chains) {
    std::uint64_t size = 0;
    for (unsigned i = 0; i < chains.Count(); ++i)
        size += PackedSize(chains.Item(i));
    return SaturatePackedSize(size);
}

std::uint32_t StringsSize(const QuorvelAudioProfile& profile) {
    std::uint64_t size = 0;
    for (unsigned i = 0; i < profile.PathsCount(); ++i)
        if (const WCHAR* const path = profile.Path(i))
            size += (std::uint64_t{StringLength(path)} + 1) * sizeof(WCHAR);
    return SaturatePackedSize(size);
}

}  // namespace quorvel
