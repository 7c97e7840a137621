#include "profile/packed_profile.h"

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "profile/chain_directory.h"
#include "profile/packed_records.h"
#include "profile/packed_sections.h"
#include "profile/packed_size.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"

namespace quorvel {
namespace {

constexpr std::size_t kSmallestProfile =
    sizeof(_QuorvelProfileFullData) + sizeof(_QuorvelProfilePaths);
constexpr std::size_t kSmallestProfile1 =
    sizeof(ProfileHeader1) + sizeof(_QuorvelProfilePaths) + 2 * sizeof(SectionHeader1);
static_assert(kSmallestProfile == 56);
static_assert(kSmallestProfile1 == 116);

void WriteChain(ByteWriter& writer, const QuorvelAudioBlocksChain& chain) {
    const std::uint32_t size = PackedSize(chain);
    writer.Write(_QuorvelProfileChainData{size, 0, size, 0, chain.id});
    WriteBlocksSection(writer, chain, PackedSize(chain.blocks));
    WriteLinksSection(writer, chain, PackedSize(chain.links));
}

void WriteProfile(ByteWriter& writer, const QuorvelAudioProfile& profile, std::uint32_t size) {
    constexpr std::int64_t kNoCookie = 0;
    writer.Write(_QuorvelProfileFullData{size, profile.id, kNoCookie, profile.chains.Count()});
    WritePathsSection(writer, profile, StringsSize(profile));
    for (unsigned i = 0; i < profile.chains.Count(); ++i)
        WriteChain(writer, profile.chains.Item(i));
}

// Opens the record at the front of `bytes` and reads what both versions begin with: header and
// paths. Leaves `reader` behind the paths.
template <typename Header>
DWORD ReadBeginning(std::span<const std::byte> bytes, std::size_t smallest, Header& header,
                    ByteReader& reader, QuorvelAudioProfile& profile) {
    std::span<const std::byte> record;
    ByteReader all(bytes);
    if (!all.Peek(header) || header.size < smallest) return ERROR_INVALID_DATA;
    if (!all.Take(header.size, record)) return ERROR_INVALID_DATA;
    reader = ByteReader(record);
    reader.Read(header);
    profile.id = header.id;
    profile.cookie = header.cookie;
    return ReadPathsSection(reader, profile);
}

// Takes the next section off `reader`. False when it belongs to another profile or is cut off; its
// reader sees whether it holds its own header.
template <typename Header>
bool TakeSection(ByteReader& reader, const GUID& profileId, std::span<const std::byte>& section) {
    Header header;
    if (!reader.Peek(header)) return false;
    const GUID owner = header.profileId;
    return owner == profileId && reader.Take(header.sectionSizeCopy, section);
}

using ReadSection = DWORD(std::span<const std::byte>, QuorvelAudioBlocksChain&);

// Reads a blocks section and the links section behind it.
template <typename Header>
DWORD ReadSections(ByteReader reader, const GUID& profileId, ReadSection readBlocks,
                   ReadSection readLinks, QuorvelAudioBlocksChain& chain) {
    for (ReadSection* const read : {readBlocks, readLinks}) {
        std::span<const std::byte> section;
        if (!TakeSection<Header>(reader, profileId, section)) return ERROR_INVALID_DATA;
        const DWORD result = read(section, chain);
        if (result != ERROR_SUCCESS) return result;
    }
    return ERROR_SUCCESS;
}

DWORD ReadChain(ByteReader& reader, ChainDirectory& chains, const GUID& profileId) {
    std::span<const std::byte> record;
    DWORD chainId = 0;
    if (!TakeChainRecord(reader, record, chainId)) return ERROR_INVALID_DATA;
    QuorvelAudioBlocksChain* const chain = chains.GetChain(chainId);
    if (!chain) return ERROR_NOT_ENOUGH_MEMORY;
    const ByteReader sections(record.subspan(sizeof(_QuorvelProfileChainData)));
    return ReadSections<SectionHeader>(sections, profileId, ReadBlocksSection, ReadLinksSection,
                                       *chain);
}

}  // namespace

DWORD PackProfile(const QuorvelAudioProfile& profile, std::uint32_t extra, std::uint32_t offset,
                  PackedProfile& packed) {
    if (offset > extra) return ERROR_INVALID_PARAMETER;
    const std::uint32_t size = SaturatePackedSize(
        std::uint64_t{sizeof(_QuorvelProfileFullData)} + sizeof(_QuorvelProfilePaths) +
        StringsSize(profile) + PackedSize(profile.chains));
    const std::uint32_t bufferSize = AddPackedSizes(size, extra);
    if (bufferSize == kPackedSizeLimit) return ERROR_NOT_ENOUGH_MEMORY;
    packed.bytes = AllocateZeroed<std::byte>(bufferSize);
    if (!packed.bytes) return ERROR_NOT_ENOUGH_MEMORY;
    packed.size = bufferSize;
    ByteWriter writer({packed.bytes.get() + offset, size});
    WriteProfile(writer, profile, size);
    return ERROR_SUCCESS;
}

DWORD UnpackProfile(std::span<const std::byte> bytes, QuorvelAudioProfile& profile) {
    _QuorvelProfileFullData header;
    ByteReader reader;
    DWORD result = ReadBeginning(bytes, kSmallestProfile, header, reader, profile);
    if (result != ERROR_SUCCESS) return result;
    ChainDirectory chains;
    if (!chains.Build(profile, header.chainCount, reader)) return ERROR_NOT_ENOUGH_MEMORY;
    for (std::uint32_t i = 0; i < header.chainCount && result == ERROR_SUCCESS; ++i)
        result = ReadChain(reader, chains, profile.id);
    return result;
}

DWORD UnpackProfile1(std::span<const std::byte> bytes, QuorvelAudioProfile& profile) {
    ProfileHeader1 header;
    ByteReader reader;
    const DWORD result = ReadBeginning(bytes, kSmallestProfile1, header, reader, profile);
    if (result != ERROR_SUCCESS) return result;
    QuorvelAudioBlocksChain* const chain = profile.GetChain(1, true);
    if (!chain) return ERROR_NOT_ENOUGH_MEMORY;
    return ReadSections<SectionHeader1>(reader, profile.id, ReadBlocksSection1, ReadLinksSection1,
                                        *chain);
}

}  // namespace quorvel
