#include "profile/packed_sections.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "profile/heap_array.h"
#include "profile/make_room.h"
#include "profile/packed_records.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "profile/wide_string.h"

namespace quorvel {
namespace {

SectionHeader MakeSectionHeader(const QuorvelAudioBlocksChain& chain, std::uint32_t size,
                                std::uint32_t items) {
    return {size, items, size, items, chain.profileId, chain.id};
}

// The records of the section at the front of `bytes`. False when the section reaches beyond
// `bytes`, or its `count` records, each at least `smallestRecord` bytes, beyond the section.
template <typename Header>
bool OpenSection(std::span<const std::byte> bytes, std::size_t smallestRecord, ByteReader& records,
                 std::uint32_t& count) {
    ByteReader reader(bytes);
    Header header;
    std::span<const std::byte> body;
    if (!reader.Read(header) || header.sectionSizeCopy < sizeof(Header)) return false;
    if (!reader.Take(header.sectionSizeCopy - sizeof(Header), body)) return false;
    records = ByteReader(body);
    count = header.itemCountCopy;
    return count <= body.size() / smallestRecord;
}

void TakeChainId(QuorvelAudioBlock& block, const _QuorvelAudioBlockInfo& header) {
    block.chainId = header.chainId;
}

void TakeChainId(QuorvelAudioBlock&, const BlockHeader1&) {}

template <typename Header>
DWORD ReadBlockRecord(ByteReader& reader, QuorvelAudioBlock& block) {
    Header header;
    std::span<const std::byte> data;
    if (!reader.Read(header) || !reader.Take(header.dataSize, data)) return ERROR_INVALID_DATA;
    block.id = header.id;
    block.typeId = header.typeId;
    block.profileId = header.profileId;
    TakeChainId(block, header);
    block.SetData(const_cast<std::byte*>(data.data()), header.dataSize);
    const bool isMissing = header.dataSize != 0 && !block.data;
    return isMissing ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

template <typename Header, typename BlockHeader>
DWORD ReadBlocks(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    ByteReader records;
    std::uint32_t count = 0;
    if (!OpenSection<Header>(bytes, sizeof(BlockHeader), records, count)) return ERROR_INVALID_DATA;
    chain.blocks.Clear();
    if (!MakeRoom(chain.blocks, count)) return ERROR_NOT_ENOUGH_MEMORY;
    // The chain's profile may be gone, so the block is made for another one.
    QuorvelAudioProfile blank;
    QuorvelAudioBlock empty(&blank, nullptr, GUID{}, GUID{});
    empty.profile = chain.profile;
    empty.profileId = chain.profileId;
    empty.chainId = chain.id;
    for (std::uint32_t i = 0; i < count; ++i) {
        const DWORD result = ReadBlockRecord<BlockHeader>(records, chain.blocks.Add(empty));
        if (result == ERROR_SUCCESS) continue;
        chain.blocks.RemoveAt(i);
        return result;
    }
    return ERROR_SUCCESS;
}

template <typename Header, typename LinkRecord>
DWORD ReadLinks(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    ByteReader records;
    std::uint32_t count = 0;
    if (!OpenSection<Header>(bytes, sizeof(LinkRecord), records, count)) return ERROR_INVALID_DATA;
    chain.links.Clear();
    if (!MakeRoom(chain.links, count)) return ERROR_NOT_ENOUGH_MEMORY;
    for (LinkRecord record; chain.links.Count() < count && records.Read(record);) {
        _QuorvelAudioBlockLink link{chain.profileId, chain.id, record.sourceBlockId,
                                    record.destinationBlockId};
        chain.links.Add(link);
    }
    return ERROR_SUCCESS;
}

}  // namespace

void WriteBlock(ByteWriter& writer, const QuorvelAudioBlock& block) {
    writer.Write(_QuorvelAudioBlockInfo{block.id, block.typeId, block.profileId, block.chainId,
                                        block.dataSize});
    if (block.data)
        writer.WriteBytes(block.data, block.dataSize);
    else
        writer.Skip(block.dataSize);
}

void WriteBlocksSection(ByteWriter& writer, const QuorvelAudioBlocksChain& chain,
                        std::uint32_t size) {
    writer.Write(MakeSectionHeader(chain, size, chain.blocks.Count()));
    for (unsigned i = 0; i < chain.blocks.Count(); ++i)
        WriteBlock(writer, chain.blocks.Item(i));
}

void WriteLinksSection(ByteWriter& writer, const QuorvelAudioBlocksChain& chain,
                       std::uint32_t size) {
    writer.Write(MakeSectionHeader(chain, size, chain.links.Count()));
    for (unsigned i = 0; i < chain.links.Count(); ++i) {
        const _QuorvelAudioBlockLink& link = chain.links.Item(i);
        writer.Write(_QuorvelAudioBlockLink{chain.profileId, chain.id, link.sourceBlockId,
                                            link.destinationBlockId});
    }
}

void WritePathsSection(ByteWriter& writer, const QuorvelAudioProfile& profile,
                       std::uint32_t stringsSize) {
    const auto nulls = std::count(profile.paths, profile.paths + profile.pathsCount, nullptr);
    const std::uint32_t count = profile.pathsCount - static_cast<std::uint32_t>(nulls);
    writer.Write(_QuorvelProfilePaths{profile.id, stringsSize, count});
    for (unsigned i = 0; i < profile.pathsCount; ++i)
        if (const WCHAR* path = profile.paths[i])
            writer.WriteBytes(path, (StringLength(path) + 1) * sizeof(WCHAR));
}

DWORD ReadBlock(ByteReader& reader, QuorvelAudioBlock& block) {
    return ReadBlockRecord<_QuorvelAudioBlockInfo>(reader, block);
}

DWORD ReadBlock1(ByteReader& reader, QuorvelAudioBlock& block) {
    return ReadBlockRecord<BlockHeader1>(reader, block);
}

DWORD ReadBlocksSection(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    return ReadBlocks<SectionHeader, _QuorvelAudioBlockInfo>(bytes, chain);
}

DWORD ReadBlocksSection1(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    return ReadBlocks<SectionHeader1, BlockHeader1>(bytes, chain);
}

DWORD ReadLinksSection(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    return ReadLinks<SectionHeader, _QuorvelAudioBlockLink>(bytes, chain);
}

DWORD ReadLinksSection1(std::span<const std::byte> bytes, QuorvelAudioBlocksChain& chain) {
    return ReadLinks<SectionHeader1, LinkRecord1>(bytes, chain);
}

DWORD ReadPathsSection(ByteReader& reader, QuorvelAudioProfile& profile) {
    _QuorvelProfilePaths header;
    std::span<const std::byte> strings;
    if (!reader.Read(header) || !reader.Take(header.stringsSize, strings))
        return ERROR_INVALID_DATA;
    profile.ClearPaths(false);
    const std::size_t count = strings.size() / sizeof(WCHAR);
    if (count == 0) return ERROR_SUCCESS;
    // The strings may stand at an odd address, where units must not be read.
    const HeapArray<WCHAR> units = AllocateArray<WCHAR>(count);
    if (!units) return ERROR_NOT_ENOUGH_MEMORY;
    std::memcpy(units.get(), strings.data(), count * sizeof(WCHAR));
    const WCHAR* const end = units.get() + count;
    for (const WCHAR* path = units.get(); path != end && *path != 0;) {
        const WCHAR* const terminator = std::find(path, end, WCHAR{0});
        if (terminator == end) break;
        if (!profile.AddPath(path) || !profile.Path(profile.PathsCount() - 1))
            return ERROR_NOT_ENOUGH_MEMORY;
        path = terminator + 1;
    }
    return ERROR_SUCCESS;
}

}  // namespace quorvel
