// One small profile, as an object and as the bytes that it packs to.
#pragma once

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "tests/support/byte_builder.h"
#include "tests/support/random_profile.h"

namespace quorvel::test {

constexpr std::uint64_t kSampleCookie = 0x8877665544332211;

// Offsets in SampleRecord and SampleRecord1.
constexpr std::size_t kSamplePaths = 32;
constexpr std::size_t kSampleChain = 66;
constexpr std::size_t kSampleBlocks = kSampleChain + 20;
constexpr std::size_t kSampleLinks = kSampleBlocks + 36 + 66;
constexpr std::size_t kSampleSize = kSampleLinks + 36 + 52;
constexpr std::size_t kSample1Blocks = 62;
constexpr std::size_t kSample1Links = kSample1Blocks + 32 + 62;
constexpr std::size_t kSample1Size = kSample1Links + 32 + 48;

inline void AddSampleData(ByteBuilder& record) {
    record.Raw({0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
}

inline void AddSamplePaths(ByteBuilder& record) {
    record.Guid(NumberedGuid(1)).Number(10).Number(2);
    record.Raw({0x61, 0, 0, 0, 0x62, 0, 0x63, 0, 0, 0});
}

// Profile 1 with the paths "a" and "bc" and chain 6: block 2 of kind 3 with ten bytes, and a link
// from block 2 to block 4.
inline void FillSample(QuorvelAudioProfile& profile) {
    profile.id = NumberedGuid(1);
    profile.AddPath(u"a");
    profile.AddPath(u"bc");
    QuorvelAudioBlocksChain& chain = *profile.GetChain(6, true);
    QuorvelAudioBlock block(&profile, &chain, NumberedGuid(3), NumberedGuid(2));
    ByteBuilder data;
    AddSampleData(data);
    block.SetData(data.bytes.data(), 10);
    chain.blocks.Add(block);
    // The link's own profile and chain are not what is written.
    _QuorvelAudioBlockLink link{NumberedGuid(77), 78, NumberedGuid(2), NumberedGuid(4)};
    chain.links.Add(link);
}

inline ByteBuilder SampleRecord(std::uint64_t cookie) {
    const GUID profile = NumberedGuid(1);
    ByteBuilder record;
    record.Number(kSampleSize).Guid(profile).Number(cookie, 8).Number(1);
    AddSamplePaths(record);
    record.Number(210).Number(0).Number(210).Number(0).Number(6);
    record.Number(102).Number(1).Number(102).Number(1).Guid(profile).Number(6);
    record.Guid(NumberedGuid(2)).Guid(NumberedGuid(3)).Guid(profile).Number(6).Number(10);
    AddSampleData(record);
    record.Number(88).Number(1).Number(88).Number(1).Guid(profile).Number(6);
    record.Guid(profile).Number(6).Guid(NumberedGuid(2)).Guid(NumberedGuid(4));
    return record;
}

// The same profile in version 1, with chain 1 and first counts that nobody may read.
inline ByteBuilder SampleRecord1() {
    const GUID profile = NumberedGuid(1);
    ByteBuilder record;
    record.Number(kSample1Size).Guid(profile).Number(kSampleCookie, 8);
    AddSamplePaths(record);
    record.Number(0).Number(9).Number(94).Number(1).Guid(profile);
    record.Guid(NumberedGuid(2)).Guid(NumberedGuid(3)).Guid(profile).Number(10);
    AddSampleData(record);
    record.Number(0).Number(9).Number(80).Number(1).Guid(profile);
    record.Guid(NumberedGuid(99)).Guid(NumberedGuid(2)).Guid(NumberedGuid(4));
    return record;
}

}  // namespace quorvel::test
