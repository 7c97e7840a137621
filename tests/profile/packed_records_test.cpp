#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "profile/packed_profile.h"
#include "profile/packed_records.h"
#include "tests/profile/device_peer.h"
#include "tests/profile/sample_record.h"

namespace quorvel::test {
namespace {

using Peer = QuorvelAudioDevicePeer;
using Bytes = std::vector<std::byte>;

Bytes Packed(const QuorvelAudioProfile& profile, unsigned extra = 0, unsigned offset = 0) {
    PackedProfile packed;
    EXPECT_EQ(PackProfile(profile, extra, offset, packed), ERROR_SUCCESS);
    return {packed.bytes.get(), packed.bytes.get() + packed.size};
}

// The `size` bytes of `bytes` from `offset` on.
Bytes Part(const Bytes& bytes, std::size_t offset, std::size_t size) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

template <typename Record>
Record* At(Bytes& bytes, std::size_t offset = 0) {
    return reinterpret_cast<Record*>(bytes.data() + offset);
}

TEST(PackedSizes, FollowTheContent) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    QuorvelAudioBlocksChain& chain = *profile.GetChain(6, false);
    EXPECT_EQ(chain.blocks.Item(0).GetPackedSize(), 66u);
    EXPECT_EQ(chain.blocks.Item(0).GetPackedSize_1(), 62u);
    EXPECT_EQ(chain.blocks.GetPackedSize(), 36u + 66u);
    EXPECT_EQ(chain.links.GetPackedSize(), 36u + 52u);
    EXPECT_EQ(chain.GetPackedSize(), 210u);
    profile.GetChain(9, true);
    EXPECT_EQ(profile.GetPackedChainsSize(), 210u + 92u);
    EXPECT_EQ(profile.GetStringsSize(), 10u);
    EXPECT_EQ(profile.GetPackedStringsSize(), 34u);
}

TEST(PackedSizes, StopAtTheLimitInsteadOfWrapping) {
    QuorvelAudioProfile profile;
    QuorvelAudioBlocksChain& chain = *profile.GetChain(1, true);
    QuorvelAudioBlock block(&profile, &chain, GUID{}, GUID{});
    chain.blocks.Add(block).dataSize = 0xFFFFFFF0;
    chain.blocks.Add(block).dataSize = 0x20;
    EXPECT_EQ(chain.blocks.Item(0).GetPackedSize(), UINT32_MAX);
    EXPECT_EQ(profile.GetPackedChainsSize(), UINT32_MAX);
    PackedProfile packed;
    EXPECT_EQ(PackProfile(profile, 0, 0, packed), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    chain.blocks.Item(0).dataSize = 0xFFFFFFFF - 56 - 56 - 92 - 0x20 - 56;
    EXPECT_EQ(PackProfile(profile, 38, 22, packed), DWORD{ERROR_NOT_ENOUGH_MEMORY});
    EXPECT_FALSE(packed.bytes);
}

TEST(PackProfile, WritesEveryByteOfTheRecord) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    profile.cookie = 5;  // never sent
    EXPECT_EQ(Packed(profile), SampleRecord(0).bytes);
}

TEST(PackProfile, EmptyProfileIs56Bytes) {
    QuorvelAudioProfile profile;
    profile.id = NumberedGuid(9);
    ByteBuilder record;
    record.Number(56).Guid(NumberedGuid(9)).Number(0, 8).Number(0);
    record.Guid(NumberedGuid(9)).Number(0).Number(0);
    EXPECT_EQ(Packed(profile), record.bytes);
}

TEST(PackProfile, LeavesRoomAroundTheRecord) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    void* buffer = nullptr;
    unsigned size = 0;
    ASSERT_EQ(Peer::PackProfileData(&profile, &buffer, size, 7, 3), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(size, kSampleSize + 7);
    const auto* bytes = static_cast<const std::byte*>(buffer);
    EXPECT_EQ(Part({bytes, bytes + size}, 3, kSampleSize), SampleRecord(0).bytes);
    QuorvelAudioDevice::Free(buffer);
    EXPECT_EQ(Peer::PackProfileData(&profile, &buffer, size, 7, 8), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(PackProfile, LeavesOutNullPaths) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    profile.AddPath(nullptr);
    const WCHAR last[] = {'d', 0};
    profile.AddPath(last);
    QuorvelAudioProfile read;
    EXPECT_EQ(UnpackProfile(Packed(profile), read), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(read.PathsCount(), 3u);
    EXPECT_EQ(std::to_integer<int>(Packed(profile)[kSamplePaths + 20]), 3);
}

TEST(UnpackProfile, ReadsWhatWasWrittenByHand) {
    QuorvelAudioProfile expected;
    FillSample(expected);
    expected.cookie = static_cast<std::int64_t>(kSampleCookie);
    expected.GetChain(6, false)->links.Item(0).profileId = NumberedGuid(1);
    expected.GetChain(6, false)->links.Item(0).chainId = 6;
    QuorvelAudioProfile profile;
    EXPECT_EQ(UnpackProfile(SampleRecord(kSampleCookie).Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Describe(profile), Describe(expected));
    EXPECT_EQ(profile.GetChain(6, false)->blocks.Item(0).GetProfile(), &profile);
    EXPECT_EQ(profile.GetChain(6, false)->blocks.Item(0).chain, nullptr);
}

TEST(UnpackProfile, ReadsVersionOneIntoChainOne) {
    QuorvelAudioProfile expected;
    FillSample(expected);
    expected.cookie = static_cast<std::int64_t>(kSampleCookie);
    QuorvelAudioBlocksChain& chain = *expected.GetChain(6, false);
    chain.id = 1;
    chain.blocks.Item(0).chainId = 1;
    chain.links.Item(0).profileId = NumberedGuid(1);
    chain.links.Item(0).chainId = 1;
    QuorvelAudioProfile profile;
    EXPECT_EQ(UnpackProfile1(SampleRecord1().Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Describe(profile), Describe(expected));
}

TEST(UnpackProfile, BlocksTakeIdsFromRecordsAndLinksFromTheChain) {
    ByteBuilder record = SampleRecord(0);
    constexpr std::size_t kBlock = kSampleBlocks + 36;
    constexpr std::size_t kLink = kSampleLinks + 36;
    record.Patch(kBlock + 32, 50).Patch(kBlock + 48, 51).Patch(kLink, 52).Patch(kLink + 16, 53);
    record.Patch(kSampleBlocks + 32, 54).Patch(kSampleLinks + 32, 55);  // chainId of headers
    record.Patch(kSampleBlocks, 56).Patch(kSampleBlocks + 4, 57);       // first copies
    record.Patch(kSampleChain, 58).Patch(kSamplePaths, 59).Patch(kSamplePaths + 20, 60);
    QuorvelAudioProfile profile;
    ASSERT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(profile.chains.Count(), 1u);
    const QuorvelAudioBlocksChain& chain = *profile.GetChain(6, false);
    EXPECT_EQ(chain.blocks.Item(0).profileId.Data1, 50u);
    EXPECT_EQ(chain.blocks.Item(0).chainId, 51u);
    EXPECT_EQ(chain.links.Item(0).profileId.Data1, 1u);
    EXPECT_EQ(chain.links.Item(0).chainId, 6u);
    EXPECT_EQ(profile.PathsCount(), 2u);
}

TEST(UnpackProfile, ReplacesOnlyWhatTheRecordHolds) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    profile.GetChain(6, false)->blocks.Item(0).id = NumberedGuid(70);
    profile.GetChain(6, false)->links.Add(profile.GetChain(6, false)->links.Item(0));
    profile.SetChain(*profile.GetChain(6, false));
    QuorvelAudioBlocksChain other(*profile.GetChain(6, false));
    other.id = 5;
    profile.SetChain(other);
    const std::string untouched = Describe(*profile.GetChain(5, false));
    ASSERT_EQ(UnpackProfile(SampleRecord(0).Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Describe(*profile.GetChain(5, false)), untouched);
    EXPECT_EQ(profile.GetChain(6, false)->blocks.Item(0).id.Data1, 2u);
    EXPECT_EQ(profile.GetChain(6, false)->links.Count(), 1u);
    EXPECT_EQ(profile.PathsCount(), 2u);
}

TEST(UnpackProfile, EmptyStringEndsThePaths) {
    ByteBuilder record = SampleRecord(0);
    record.bytes[kSamplePaths + 24] = std::byte{0};  // "" "bc"
    QuorvelAudioProfile profile;
    EXPECT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.PathsCount(), 0u);
    record = SampleRecord(0);
    record.bytes[kSamplePaths + 24 + 8] = std::byte{'d'};  // "a" and "bcd" without a terminator
    EXPECT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.PathsCount(), 1u);
}

TEST(UnpackProfile, RandomProfilesComeBackFromAnyAddress) {
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        QuorvelAudioProfile profile;
        FillRandomly(profile, random, {});
        const Bytes bytes = Packed(profile, 3, static_cast<unsigned>(round) % 4);
        QuorvelAudioProfile read;
        const std::span<const std::byte> all(bytes);
        ASSERT_EQ(UnpackProfile(all.subspan(static_cast<unsigned>(round) % 4), read),
                  DWORD{ERROR_SUCCESS});
        ASSERT_EQ(Describe(read), Describe(profile));
    }
}

TEST(UnpackProfile, FindsChainsAsTheProfileDoes) {
    QuorvelAudioProfile source;
    constexpr DWORD kNumbers[] = {9, 0, 0xFFFFFFFF, 4, 7};
    for (const DWORD number : kNumbers)
        source.GetChain(number, true);
    QuorvelAudioProfile target;
    target.GetChain(7, true);
    target.GetChain(3, true);
    ByteBuilder record{Packed(source)};
    record.Patch(56 + 4 * 92 + 16, 9);  // the chain 7 becomes a second 9
    ASSERT_EQ(UnpackProfile(record.Span(), target), DWORD{ERROR_SUCCESS});
    std::vector<DWORD> numbers;
    for (unsigned i = 0; i < target.chains.Count(); ++i)
        numbers.push_back(target.chains.Item(i).id);
    EXPECT_EQ(numbers, (std::vector<DWORD>{7, 3, 9, 0, 0xFFFFFFFF, 4}));
}

TEST(BlockRecord, PacksAndUnpacksAlone) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    const QuorvelAudioBlock& block = profile.GetChain(6, false)->blocks.Item(0);
    Bytes record(66 + 1, std::byte{0xEE});
    block.Pack(At<_QuorvelAudioBlockInfo>(record, 1));
    EXPECT_EQ(Part(record, 1, 66), Part(SampleRecord(0).bytes, kSampleBlocks + 36, 66));
    QuorvelAudioBlock read(&profile, nullptr, GUID{}, GUID{});
    read.Unpack(At<_QuorvelAudioBlockInfo>(record, 1));
    EXPECT_TRUE(read == block);
    EXPECT_TRUE(read.typeId == block.typeId);
    EXPECT_EQ(read.chainId, 6u);
    EXPECT_EQ(read.DataSize(), 10u);

    Bytes record1 = Part(SampleRecord1().bytes, kSample1Blocks + 32, 62);
    QuorvelAudioBlock read1(&profile, nullptr, GUID{}, GUID{});
    read1.chainId = 44;
    read1.Unpack_1(record1.data());
    EXPECT_TRUE(read1 == block);
    EXPECT_EQ(read1.chainId, 44u);
    EXPECT_EQ(std::memcmp(read1.Data(), block.Data(), 10), 0);
}

// Every section of the sample, computed size or given, lands where the whole record has it.
TEST(Sections, WriteAndReadAlone) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    QuorvelAudioBlocksChain* const chain = profile.GetChain(6, false);
    Bytes whole = SampleRecord(0).bytes;
    for (const unsigned isGiven : {0u, 1u}) {
        Bytes blocks(102);
        Bytes links(88);
        Bytes paths(34);
        Peer::FillBlocksFromChain(At<_QuorvelAudioProfileBlocks>(blocks), chain, isGiven * 102);
        Peer::FillLinksFromChain(At<_QuorvelAudioProfileBlocksLinks>(links), chain, isGiven * 88);
        Peer::FillPathsFromProfile(At<_QuorvelProfilePaths>(paths), &profile, isGiven * 10);
        EXPECT_EQ(blocks, Part(whole, kSampleBlocks, 102));
        EXPECT_EQ(links, Part(whole, kSampleLinks, 88));
        EXPECT_EQ(paths, Part(whole, kSamplePaths, 34));
    }

    Bytes old = SampleRecord1().bytes;
    QuorvelAudioProfile read;
    read.id = NumberedGuid(1);
    read.GetChain(6, true);
    QuorvelAudioBlocksChain* const target1 = read.GetChain(7, true);
    QuorvelAudioBlocksChain* const target = read.GetChain(6, false);
    const DWORD results[] = {
        Peer::FillChainBlocks(target, At<_QuorvelAudioProfileBlocks>(whole, kSampleBlocks)),
        Peer::FillChainLinks(target, At<_QuorvelAudioProfileBlocksLinks>(whole, kSampleLinks)),
        Peer::FillChainBlocks_1(target1, old.data() + kSample1Blocks),
        Peer::FillChainLinks_1(target1, old.data() + kSample1Links),
        Peer::FillProfilePaths(&read, At<_QuorvelProfilePaths>(whole, kSamplePaths)),
        Peer::UnpackProfileData_2(&read, At<_QuorvelProfileFullData>(whole), kSampleSize),
        Peer::UnpackProfileData_1(&read, At<_QuorvelProfileFullData>(old), kSample1Size - 1),
    };
    const DWORD expected[] = {0, 0, 0, 0, 0, 0, ERROR_INVALID_DATA};
    EXPECT_TRUE(std::ranges::equal(results, expected));
    EXPECT_EQ(read.PathsCount(), 2u);
    EXPECT_EQ(target->blocks.Item(0).chainId, 6u);
    EXPECT_EQ(target->links.Item(0).chainId, 6u);
    EXPECT_EQ(target1->blocks.Item(0).chainId, 7u);
    EXPECT_EQ(target1->links.Item(0).chainId, 7u);
    EXPECT_TRUE(target1->links.Item(0).destinationBlockId == NumberedGuid(4));
}

}  // namespace
}  // namespace quorvel::test
