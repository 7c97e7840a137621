#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <utility>

#include "client/quorvel_audio_device.h"
#include "profile/packed_profile.h"
#include "profile/packed_records.h"
#include "tests/profile/sample_record.h"

// Opens the private record operations to these tests.
struct QuorvelAudioDevicePeer : QuorvelAudioDevice {
    using Device = QuorvelAudioDevice;
    using Device::FillBlocksFromChain, Device::FillLinksFromChain, Device::FillPathsFromProfile;
    using Device::FillChainBlocks, Device::FillChainLinks, Device::FillProfilePaths;
    using Device::FillChainBlocks_1, Device::FillChainLinks_1;
    using Device::PackProfileData, Device::UnpackProfileData_1, Device::UnpackProfileData_2;
};

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

TEST(PackProfile, WritesEveryByteAndTakesEachIdFromItsPlace) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    profile.cookie = 5;  // never sent
    ByteBuilder record = SampleRecord(0);
    EXPECT_EQ(Packed(profile), record.bytes);
    QuorvelAudioBlocksChain& chain = *profile.GetChain(6, false);
    chain.profileId.Data1 = 91;
    chain.blocks.Item(0).profileId.Data1 = 92;
    chain.blocks.Item(0).chainId = 93;
    record.Patch(kSampleBlocks + 16, 91).Patch(kSampleLinks + 16, 91).Patch(kSampleLinks + 36, 91);
    record.Patch(kSampleBlocks + 36 + 32, 92).Patch(kSampleBlocks + 36 + 48, 93);
    EXPECT_EQ(Packed(profile), record.bytes);
}

TEST(PackProfile, LeavesRoomAroundTheRecord) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    void* buffer = nullptr;
    unsigned size = 4;
    EXPECT_EQ(Peer::PackProfileData(&profile, &buffer, size, 7, 8), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(size, 4u);
    ASSERT_EQ(Peer::PackProfileData(&profile, &buffer, size, 7, 3), DWORD{ERROR_SUCCESS});
    Bytes expected = SampleRecord(0).bytes;
    expected.insert(expected.begin(), 3, std::byte{0});
    expected.resize(kSampleSize + 7);
    const auto* bytes = static_cast<const std::byte*>(buffer);
    EXPECT_EQ(Bytes(bytes, bytes + size), expected);
    QuorvelAudioDevice::Free(buffer);
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

// The chains come from a profile that is gone.
TEST(UnpackProfile, ReplacesTheChainsOfTheRecordAndNoOthers) {
    QuorvelAudioProfile profile;
    auto gone = std::make_unique<QuorvelAudioProfile>();
    FillSample(*gone);
    QuorvelAudioBlocksChain& old = *gone->GetChain(6, false);
    old.blocks.Item(0).id = NumberedGuid(70);
    old.links.Add(old.links.Item(0));
    for (const DWORD number : {6u, 5u}) {
        old.id = number;
        profile.SetChain(old);
    }
    gone.reset();
    const std::string untouched = Describe(*profile.GetChain(5, false));
    ASSERT_EQ(UnpackProfile(SampleRecord(0).Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Describe(*profile.GetChain(5, false)), untouched);
    EXPECT_EQ(profile.GetChain(6, false)->blocks.Item(0).id.Data1, 2u);
    EXPECT_EQ(profile.GetChain(6, false)->links.Count(), 1u);
    EXPECT_EQ(profile.PathsCount(), 2u);
}

TEST(Paths, NullOnesAreLeftOutAndAnEmptyOneEndsThem) {
    QuorvelAudioProfile source, profile;
    FillSample(source);
    source.AddPath(nullptr);
    source.AddPath(u"d");
    EXPECT_EQ(UnpackProfile(Packed(source), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.PathsCount(), 3u);
    EXPECT_EQ(Packed(source)[kSamplePaths + 20], std::byte{3});
    ByteBuilder record = SampleRecord(0);
    record.bytes[kSamplePaths + 24 + 8] = std::byte{'d'};  // "a" and "bcd" without a terminator
    EXPECT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.PathsCount(), 1u);
    record.bytes[kSamplePaths + 24] = std::byte{0};  // "" first
    EXPECT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.PathsCount(), 0u);
    EXPECT_EQ(profile.pathsCapacity, 4u);  // the array stays
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

// How the id of a profile comes to differ from that of its chains.
struct Disagreement {
    const char* what = "";
    void (*make)(QuorvelAudioProfile& profile, QuorvelAudioProfile& sample) = nullptr;
    int copies = 1;  // that mend it
};

const Disagreement kDisagreements[] = {
    {"id after GetChain", [](auto& own, auto&) { own.GetChain(6, true), own.id.Data1 = 8; }},
    {"fresh id", [](auto& own, auto&) { FillSample(own), own.GenerateNewID(); }},
    {"SetChain", [](auto& own, auto& sample) { own.SetChain(sample.chains.Item(0)); }, 2},
    {"SetChain, assigned",
     [](auto& own, auto& sample) {
         own.SetChain(sample.chains.Item(0)), own = std::as_const(own);
     }},
    {"decoded over",
     [](auto& own, auto& sample) { own.GetChain(6, true), UnpackProfile(Packed(sample), own); }},
};

TEST(PackProfile, OfAnIdThatIsNotItsChainsIsRefusedUntilCopied) {
    for (const auto& [what, make, copies] : kDisagreements) {
        QuorvelAudioProfile sample, read;
        FillSample(sample);
        auto profile = std::make_unique<QuorvelAudioProfile>();
        make(*profile, sample);
        for (int i = 0; i <= copies; ++i) {
            const DWORD expected = i < copies ? ERROR_INVALID_DATA : ERROR_SUCCESS;
            EXPECT_EQ(UnpackProfile(Packed(*profile), read), expected) << what << ", copy " << i;
            profile = std::make_unique<QuorvelAudioProfile>(*profile);
        }
    }
}

TEST(BlockRecord, PacksAndUnpacksAlone) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    const QuorvelAudioBlock& block = profile.GetChain(6, false)->blocks.Item(0);
    Bytes record(block.GetPackedSize() + 1, std::byte{0xEE});
    block.Pack(At<_QuorvelAudioBlockInfo>(record, 1));
    EXPECT_EQ(Part(record, 1, 66), Part(SampleRecord(0).bytes, kSampleBlocks + 36, 66));
    Bytes record1 =
        Part(SampleRecord1().bytes, kSample1Blocks + 32, std::size_t{block.GetPackedSize_1()});
    ASSERT_EQ(record1.size(), 62u);
    for (const bool isVersion1 : {false, true}) {
        QuorvelAudioBlock read(&profile, nullptr, GUID{}, GUID{});
        read.chainId = 44;
        if (isVersion1)
            read.Unpack_1(record1.data());
        else
            read.Unpack(At<_QuorvelAudioBlockInfo>(record, 1));
        EXPECT_TRUE(read == block);
        EXPECT_TRUE(read.typeId == block.typeId);
        EXPECT_EQ(read.chainId, isVersion1 ? 44u : 6u);
        ASSERT_EQ(read.DataSize(), 10u);
        EXPECT_EQ(std::memcmp(read.Data(), block.Data(), 10), 0);
    }
}

// With the size computed, and with one given that is larger than need be.
TEST(Sections, AreWrittenAloneAsInTheWholeRecord) {
    QuorvelAudioProfile profile;
    FillSample(profile);
    QuorvelAudioBlocksChain* const chain = profile.GetChain(6, false);
    for (const unsigned more : {0u, 8u}) {
        const auto given = [=](unsigned size) { return more == 0 ? 0 : size + more; };
        Bytes blocks(102), links(88), paths(34);
        Peer::FillBlocksFromChain(At<_QuorvelAudioProfileBlocks>(blocks), chain, given(102));
        Peer::FillLinksFromChain(At<_QuorvelAudioProfileBlocksLinks>(links), chain, given(88));
        Peer::FillPathsFromProfile(At<_QuorvelProfilePaths>(paths), &profile, given(10));
        ByteBuilder whole = SampleRecord(0);
        whole.Patch(kSampleBlocks, 102 + more).Patch(kSampleBlocks + 8, 102 + more);
        whole.Patch(kSampleLinks, 88 + more).Patch(kSampleLinks + 8, 88 + more);
        whole.Patch(kSamplePaths + 16, 10 + more);
        EXPECT_EQ(blocks, Part(whole.bytes, kSampleBlocks, 102));
        EXPECT_EQ(links, Part(whole.bytes, kSampleLinks, 88));
        EXPECT_EQ(paths, Part(whole.bytes, kSamplePaths, 34));
    }
}

// The sample with chain `number`, as readers leave it.
void FillAsRead(QuorvelAudioProfile& profile, DWORD number) {
    FillSample(profile);
    profile.cookie = static_cast<std::int64_t>(kSampleCookie);
    QuorvelAudioBlocksChain& chain = *profile.GetChain(6, false);
    chain.id = chain.blocks.Item(0).chainId = chain.links.Item(0).chainId = number;
    chain.links.Item(0).profileId = chain.profileId;
}

TEST(Sections, AreReadAlone) {
    Bytes whole = SampleRecord(0).bytes;
    Bytes old = SampleRecord1().bytes;
    for (const DWORD number : {6u, 7u}) {
        const bool isOld = number == 7;
        QuorvelAudioProfile expected, profile;
        FillAsRead(expected, number);
        profile.id = NumberedGuid(1);
        QuorvelAudioBlocksChain* const chain = profile.GetChain(number, true);
        auto* blocks = At<_QuorvelAudioProfileBlocks>(whole, kSampleBlocks);
        auto* links = At<_QuorvelAudioProfileBlocksLinks>(whole, kSampleLinks);
        EXPECT_EQ(isOld ? Peer::FillChainBlocks_1(chain, old.data() + kSample1Blocks)
                        : Peer::FillChainBlocks(chain, blocks),
                  DWORD{ERROR_SUCCESS});
        EXPECT_EQ(chain->links.Count(), 0u);
        EXPECT_EQ(isOld ? Peer::FillChainLinks_1(chain, old.data() + kSample1Links)
                        : Peer::FillChainLinks(chain, links),
                  DWORD{ERROR_SUCCESS});
        EXPECT_EQ(Describe(*chain), Describe(expected.chains.Item(0)));
        EXPECT_EQ(chain->blocks.Item(0).GetProfile(), &profile);
        EXPECT_EQ(chain->blocks.Item(0).chain, nullptr);
    }
}

TEST(UnpackProfile, ReadsWhatWasWrittenByHand) {
    for (const DWORD number : {6u, 1u}) {
        const bool isOld = number == 1;
        Bytes record = (isOld ? SampleRecord1() : SampleRecord(kSampleCookie)).bytes;
        auto* const data = At<_QuorvelProfileFullData>(record);
        const auto size = static_cast<unsigned>(record.size());
        const auto unpack = isOld ? Peer::UnpackProfileData_1 : Peer::UnpackProfileData_2;
        QuorvelAudioProfile expected, profile, pathsOnly;
        FillAsRead(expected, number);
        EXPECT_EQ(unpack(&profile, data, size - 1), DWORD{ERROR_INVALID_DATA});
        EXPECT_EQ(unpack(&profile, data, size), DWORD{ERROR_SUCCESS});
        EXPECT_EQ(Describe(profile), Describe(expected));
        auto* const paths = At<_QuorvelProfilePaths>(record, isOld ? 28 : kSamplePaths);
        EXPECT_EQ(Peer::FillProfilePaths(&pathsOnly, paths), DWORD{ERROR_SUCCESS});
        EXPECT_EQ(pathsOnly.PathsCount(), 2u);
    }
}

}  // namespace
}  // namespace quorvel::test
