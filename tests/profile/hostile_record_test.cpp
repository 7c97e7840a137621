// Records that lie. Under the address sanitizer these tests also show that nothing outside the
// given bytes is touched: every record lies in a heap block of exactly its size.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "profile/packed_profile.h"
#include "profile/packed_sections.h"
#include "tests/profile/sample_record.h"
#include "tests/support/allocation_faults.h"

namespace quorvel::test {
namespace {

using Unpack = DWORD(std::span<const std::byte>, QuorvelAudioProfile&);

DWORD UnpackExactly(Unpack unpack, std::span<const std::byte> bytes, QuorvelAudioProfile& profile) {
    const auto block = std::make_unique<std::byte[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    return unpack({block.get(), bytes.size()}, profile);
}

struct Version {
    const char* name = "";
    Unpack* unpack = nullptr;
    ByteBuilder record;
};

std::vector<Version> Versions() {
    return {{"version 2", UnpackProfile, SampleRecord(0)},
            {"version 1", UnpackProfile1, SampleRecord1()}};
}

TEST(HostileRecord, TruncationAtEveryLengthIsRefused) {
    for (const auto& [name, unpack, record] : Versions()) {
        for (std::size_t size = 0; size < record.bytes.size(); ++size) {
            // Once with the size that the record had, once with a size field that fits.
            for (const bool isAdmitted : {false, true}) {
                if (isAdmitted && size < 4) continue;
                ByteBuilder cut{{record.bytes.begin(),
                                 record.bytes.begin() + static_cast<std::ptrdiff_t>(size)}};
                if (isAdmitted) cut.Patch(0, static_cast<std::uint32_t>(size));
                QuorvelAudioProfile profile;
                EXPECT_EQ(UnpackExactly(unpack, cut.Span(), profile), DWORD{ERROR_INVALID_DATA})
                    << name << ", " << size << " bytes";
            }
        }
    }
}

TEST(HostileRecord, CorruptedBytesAreSurvived) {
    for (auto& [name, unpack, record] : Versions()) {
        for (std::byte& byte : record.bytes) {
            const std::byte good = byte;
            for (const int bad : {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF}) {
                byte = static_cast<std::byte>(bad);
                QuorvelAudioProfile profile;
                UnpackExactly(unpack, record.Span(), profile);
                QuorvelAudioProfile copy(profile);
                ASSERT_EQ(Describe(copy), Describe(profile));
            }
            byte = good;
        }
    }
}

struct Lie {
    const char* what = "";
    Unpack* unpack = nullptr;
    std::size_t offset = 0;
    std::vector<std::uint32_t> values;
};

constexpr std::uint32_t kMax = 0xFFFFFFFF;
const Lie kLies[] = {
    {"profile size", UnpackProfile, 0, {0, 55, kSampleSize - 1, kSampleSize + 1, kMax}},
    {"strings size", UnpackProfile, kSamplePaths + 16, {12, 220, 243, kMax - 55, kMax}},
    {"chain count", UnpackProfile, 28, {2, 0x10000000, kMax}},
    {"chain size", UnpackProfile, kSampleChain + 8, {0, 19, 20, 91, 209, 211, kMax - 65, kMax}},
    {"blocks size", UnpackProfile, kSampleBlocks + 8, {0, 35, 101, 103, 191, kMax - 85, kMax}},
    {"blocks count", UnpackProfile, kSampleBlocks + 12, {2, 0x04924925, 0x80000000, kMax}},
    {"data size", UnpackProfile, kSampleBlocks + 36 + 52, {11, 98, kMax - 55, kMax}},
    {"links size", UnpackProfile, kSampleLinks + 8, {0, 35, 87, 89, kMax - 187, kMax}},
    {"links count", UnpackProfile, kSampleLinks + 12, {2, 0x04EC4EC5, 0x80000000, kMax}},
    {"version 1 profile size", UnpackProfile1, 0, {0, 115, kSample1Size - 1, kMax}},
    {"version 1 strings size", UnpackProfile1, 28 + 16, {12, 174, kMax - 51, kMax}},
    {"version 1 blocks size", UnpackProfile1, kSample1Blocks + 8, {0, 31, 93, 95, kMax}},
    {"version 1 blocks count", UnpackProfile1, kSample1Blocks + 12, {2, 0x04EC4EC6, kMax}},
    {"version 1 data size", UnpackProfile1, kSample1Blocks + 32 + 48, {11, kMax - 51, kMax}},
    {"version 1 links size", UnpackProfile1, kSample1Links + 8, {0, 31, 79, 81, kMax}},
    {"version 1 links count", UnpackProfile1, kSample1Links + 12, {2, 0x05555556, kMax}},
};

void ExpectNoNullIds(const QuorvelAudioProfile& profile) {
    for (unsigned i = 0; i < profile.chains.Count(); ++i)
        for (unsigned j = 0; j < profile.chains.Item(i).blocks.Count(); ++j)
            EXPECT_FALSE(profile.chains.Item(i).blocks.Item(j).id == GUID{});
}

TEST(HostileRecord, LyingSizesAndCountsAreRefusedWithoutAllocatingForThem) {
    for (const auto& [what, unpack, offset, values] : kLies) {
        for (const std::uint32_t value : values) {
            ByteBuilder record = unpack == UnpackProfile ? SampleRecord(0) : SampleRecord1();
            record.Patch(offset, value);
            AllocationFaults memory;
            {
                QuorvelAudioProfile profile;
                EXPECT_EQ(UnpackExactly(unpack, record.Span(), profile), DWORD{ERROR_INVALID_DATA})
                    << what << " " << value;
                ExpectNoNullIds(profile);
            }
            EXPECT_LE(memory.Largest(), 1000u) << what << " " << value;
            EXPECT_EQ(memory.Live(), 0u);
        }
    }
}

TEST(HostileRecord, BytesBehindTheRecordsAreNotRead) {
    for (auto& [name, unpack, record] : Versions()) {
        record.Number(0x12345678);
        QuorvelAudioProfile profile;
        EXPECT_EQ(UnpackExactly(unpack, record.Span(), profile), DWORD{ERROR_SUCCESS}) << name;
    }
    // A gap between the last block and the links section.
    ByteBuilder record = SampleRecord(0);
    record.Patch(kSampleBlocks + 12, 0);
    QuorvelAudioProfile profile;
    EXPECT_EQ(UnpackExactly(UnpackProfile, record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.GetChain(6, false)->blocks.Count(), 0u);
    EXPECT_EQ(profile.GetChain(6, false)->links.Count(), 1u);
}

TEST(HostileRecord, SectionOfAnotherProfileStopsTheReaderThere) {
    for (auto& [name, unpack, whole] : Versions()) {
        const bool isOld = unpack == UnpackProfile1;
        for (const unsigned blocks : {0u, 1u}) {  // read before the strange section
            SCOPED_TRACE(name);
            ByteBuilder record = whole;
            const std::size_t section = blocks == 0 ? (isOld ? kSample1Blocks : kSampleBlocks)
                                                    : (isOld ? kSample1Links : kSampleLinks);
            record.Patch(section + 16, 0xBAD);
            QuorvelAudioProfile profile;
            profile.AddPath(nullptr);
            EXPECT_EQ(UnpackExactly(unpack, record.Span(), profile), DWORD{ERROR_INVALID_DATA});
            EXPECT_TRUE(profile.id == NumberedGuid(1));
            EXPECT_EQ(profile.PathsCount(), 2u);
            ASSERT_EQ(profile.chains.Count(), 1u);
            EXPECT_EQ(profile.chains.Item(0).blocks.Count(), blocks);
            EXPECT_EQ(profile.chains.Item(0).links.Count(), 0u);
        }
    }
}

// 100 000 chains, each with a number of its own, are read in well under the time limit of a test;
// asking the profile for each number would take 5 × 10^9 comparisons.
TEST(HostileRecord, ManyChainsTakeNoQuadraticTime) {
    constexpr std::uint32_t kChains = 100000;
    ByteBuilder record;
    record.Number(56 + 92 * kChains).Guid(GUID{}).Number(0, 8).Number(kChains);
    record.Guid(GUID{}).Number(0).Number(0);
    for (std::uint32_t i = 0; i < kChains; ++i) {
        record.Number(92).Number(0).Number(92).Number(0).Number(i * 2654435761u);
        for (int section = 0; section < 2; ++section)
            record.Number(36).Number(0).Number(36).Number(0).Guid(GUID{}).Number(0);
    }
    QuorvelAudioProfile profile;
    EXPECT_EQ(UnpackProfile(record.Span(), profile), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(profile.chains.Count(), kChains);
}

}  // namespace
}  // namespace quorvel::test
