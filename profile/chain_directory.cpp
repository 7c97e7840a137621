#include "profile/chain_directory.h"

#include <algorithm>
#include <tuple>

#include "profile/make_room.h"
#include "profile/packed_records.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel {

bool ChainDirectory::Build(QuorvelAudioProfile& profile, std::uint32_t chainCount,
                           ByteReader records) {
    owner = &profile;
    count = 0;
    const std::size_t fitting = records.Remaining() / sizeof(_QuorvelProfileChainData);
    const std::size_t announced = std::min<std::size_t>(chainCount, fitting);
    places = AllocateArray<Place>(profile.chains.Count() + announced);
    if (!places) return false;
    for (unsigned i = 0; i < profile.chains.Count(); ++i)
        places[count++] = {profile.chains.Item(i).id, i};
    std::span<const std::byte> record;
    DWORD chainId = 0;
    for (std::size_t i = 0; i < announced && TakeChainRecord(records, record, chainId); ++i)
        places[count++] = {chainId, kNotMade};
    std::sort(places.get(), places.get() + count, [](const Place& a, const Place& b) {
        return std::tie(a.chainId, a.position) < std::tie(b.chainId, b.position);
    });
    return true;
}

QuorvelAudioBlocksChain* ChainDirectory::GetChain(DWORD chainId) {
    Place* const end = places.get() + count;
    Place* const place =
        std::lower_bound(places.get(), end, chainId,
                         [](const Place& a, DWORD number) { return a.chainId < number; });
    if (place == end || place->chainId != chainId) return nullptr;
    if (place->position != kNotMade) return &owner->chains.Item(place->position);
    QuorvelAudioBlocksChain fresh(owner, chainId);
    QuorvelAudioBlocksChain* const made = TryAdd(owner->chains, fresh);
    if (made) place->position = owner->chains.Count() - 1;
    return made;
}

bool TakeChainRecord(ByteReader& reader, std::span<const std::byte>& record, DWORD& chainId) {
    _QuorvelProfileChainData header;
    if (!reader.Peek(header) || header.sectionSizeCopy < sizeof(header)) return false;
    chainId = header.chainId;
    return reader.Take(header.sectionSizeCopy, record);
}

}  // namespace quorvel
