#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "kinds/block_type_ids.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "profile/quorvel_audio_profile_wrapper.h"
#include "tests/support/random_profile.h"

namespace {

RPC_STATUS uuidStatus = RPC_S_OK;  // what UuidCreate answers

}  // namespace

// Stands before the real UuidCreate; the linker calls that __real_….
extern "C" {
RPC_STATUS __real__Z10UuidCreateP4GUID(UUID* uuid);
RPC_STATUS __wrap__Z10UuidCreateP4GUID(UUID* uuid);
}

RPC_STATUS __wrap__Z10UuidCreateP4GUID(UUID* uuid) {
    const RPC_STATUS status = __real__Z10UuidCreateP4GUID(uuid);
    return uuidStatus == RPC_S_OK ? status : uuidStatus;
}

namespace {

using quorvel::test::Describe;
using quorvel::test::NumberedGuid;
// The paths in order, each with a space behind it.
std::string Paths(const QuorvelAudioProfile& profile) {
    std::string text;
    for (unsigned i = 0; i < profile.PathsCount(); ++i) {
        const WCHAR* const path = profile.Path(i);
        const std::size_t length = path ? std::char_traits<WCHAR>::length(path) : 0;
        text += path ? std::string(path, path + length) + ' ' : "null ";
    }
    return text;
}

// A profile with id 1 and chain 1 that holds the blocks 10, 11, 12 in a row, and a path.
struct RowProfile : QuorvelAudioProfile {
    using QuorvelAudioProfile::operator=;
    RowProfile() {
        id = NumberedGuid(1);
        cookie = -5;
        AddPath(u"game");
        QuorvelAudioBlocksChain& chain = *GetChain(1, true);
        for (const unsigned n : {10u, 11u, 12u}) {
            QuorvelAudioBlock block(this, &chain, quorvel::kMixerBlockTypeId, NumberedGuid(n));
            unsigned data = n;
            block.SetData(&data, sizeof(data));
            chain.blocks.Add(block);
        }
        for (const unsigned n : {10u, 11u}) {
            _QuorvelAudioBlockLink link{id, 1, NumberedGuid(n), NumberedGuid(n + 1)};
            chain.links.Add(link);
        }
    }
};

void ExpectPointersInto(QuorvelAudioProfile& profile) {
    for (unsigned i = 0; i < profile.chains.Count(); ++i) {
        QuorvelAudioBlocksChain& chain = profile.chains.Item(i);
        EXPECT_EQ(chain.Profile(), &profile);
        for (unsigned j = 0; j < chain.blocks.Count(); ++j)
            EXPECT_EQ(chain.blocks.Item(j).GetProfile(), &profile);
    }
}

TEST(ProfilePaths, ArrayDoublesFromTwo) {
    QuorvelAudioProfile profile;
    for (const std::uint32_t capacity : {2u, 2u, 4u, 4u, 8u}) {
        EXPECT_TRUE(profile.AddPath(u"p"));
        EXPECT_EQ(profile.pathsCapacity, capacity);
    }
    profile.ClearPaths(true);
    EXPECT_EQ(profile.pathsCapacity, 0u);
    EXPECT_EQ(profile.paths, nullptr);
    EXPECT_TRUE(profile.AddPath(u"again"));
    EXPECT_EQ(Paths(profile), "again ");
}

TEST(ProfilePaths, UpdateAndRemoveFollowUnitsAndOrder) {
    QuorvelAudioProfile profile;
    for (const WCHAR* path : {u"a", u"B", u"b", u"a", u"c", static_cast<const WCHAR*>(nullptr)})
        profile.AddPath(path);
    EXPECT_EQ(Paths(profile), "a B b a c null ");
    EXPECT_EQ(profile.Path(profile.PathsCount()), nullptr);
    EXPECT_FALSE(profile.UpdatePath(profile.PathsCount(), u"x"));
    EXPECT_FALSE(profile.UpdatePath(0, nullptr));
    EXPECT_TRUE(profile.UpdatePath(4, profile.Path(4) + 1));  // a tail of the entry itself
    profile.RemovePath(u"a");
    profile.RemovePath(u"b");
    profile.RemovePath(u"A");
    profile.RemovePath(nullptr);
    EXPECT_EQ(Paths(profile), "B a  null ");
    profile.RemovePath(0u);
    profile.RemovePath(2u);
    EXPECT_EQ(Paths(profile), "a  ");
}

TEST(ProfileChains, AreMadeOnDemandInOrder) {
    QuorvelAudioProfile profile;
    profile.id = NumberedGuid(3);
    EXPECT_EQ(profile.GetChain(7, false), nullptr);
    EXPECT_EQ(profile.chains.Count(), 0u);
    EXPECT_EQ(profile.GetChain(7, true), profile.GetChain(7, true));
    profile.GetChain(2, true);
    ASSERT_EQ(profile.chains.Count(), 2u);
    EXPECT_EQ(profile.chains.Item(0).id, 7u);
    EXPECT_TRUE(profile.chains.Item(1).profileId == NumberedGuid(3));
    profile.RemoveChain(9);
    profile.RemoveChain(profile.chains.Item(0));
    ASSERT_EQ(profile.chains.Count(), 1u);
    EXPECT_EQ(profile.chains.Item(0).id, 2u);
}

TEST(ProfileChains, SetChainKeepsPointingAtTheSourceUntilTheProfileIsAssigned) {
    RowProfile source;
    RowProfile target;
    target.id = NumberedGuid(2);
    QuorvelAudioBlocksChain* const chain = target.GetChain(1, false);
    target.SetChain(*source.GetChain(1, false));
    EXPECT_EQ(target.GetChain(1, false), chain);
    EXPECT_EQ(chain->Profile(), &source);
    EXPECT_TRUE(chain->profileId == source.id);
    EXPECT_EQ(Describe(*chain), Describe(*source.GetChain(1, false)));
    QuorvelAudioProfile copy(target);
    ExpectPointersInto(copy);
    EXPECT_TRUE(copy.GetChain(1, false)->profileId == source.id);
    target.SetChain(*chain);
    EXPECT_EQ(chain->blocks.Count(), 3u);
}

TEST(ProfileBlocks, RemovalTakesTheLinksOfBothDirections) {
    // The links 10 -> 11, 11 -> 12, 20 -> 21; the id is taken from a link that the removal moves.
    for (const bool removesBlock : {true, false}) {
        RowProfile profile;
        QuorvelAudioBlocksChain& chain = *profile.GetChain(1, false);
        _QuorvelAudioBlockLink kept{profile.id, 1, NumberedGuid(20), NumberedGuid(21)};
        chain.links.Add(kept);
        if (removesBlock)
            profile.RemoveBlock(1, chain.links.Item(0).destinationBlockId);
        else
            profile.RemoveBlockLinks(1, chain.links.Item(1).sourceBlockId);
        ASSERT_EQ(chain.links.Count(), 1u);
        EXPECT_TRUE(chain.links.Item(0) == kept);
        EXPECT_EQ(profile.FindBlock(1, NumberedGuid(11)) == nullptr, removesBlock);
        EXPECT_EQ(chain.blocks.Count(), removesBlock ? 2u : 3u);
    }

    RowProfile stranger;
    stranger.FindBlock(1, NumberedGuid(11))->profileId = NumberedGuid(99);
    stranger.RemoveBlock(1, NumberedGuid(11));
    EXPECT_EQ(stranger.GetChain(1, false)->blocks.Count(), 3u);
    EXPECT_EQ(stranger.GetChain(1, false)->links.Count(), 0u);
    stranger.RemoveBlock(4, NumberedGuid(10));
    stranger.RemoveBlockLinks(4, NumberedGuid(10));
}

TEST(ProfileBlocks, AreFoundByIdAndPresentProfileIdAndValidWhenEveryKindIsKnown) {
    RowProfile profile;
    QuorvelAudioBlocksList& blocks = profile.GetChain(1, false)->blocks;
    EXPECT_EQ(profile.FindBlock(1, NumberedGuid(11)), &blocks.Item(1));
    EXPECT_EQ(profile.FindBlock(2, NumberedGuid(11)), nullptr);
    EXPECT_EQ(profile.FindBlock(1, NumberedGuid(13)), nullptr);
    profile.id = NumberedGuid(2);
    EXPECT_EQ(profile.FindBlock(1, NumberedGuid(11)), nullptr);
    EXPECT_TRUE(QuorvelAudioBlocksList().Validate());
    EXPECT_TRUE(blocks.Validate());
    blocks.Item(2).typeId = NumberedGuid(1);
    EXPECT_FALSE(blocks.Validate());
}

TEST(ProfileCopies, AreWholeAndTheirOwn) {
    RowProfile source;
    source.AddPath(nullptr);
    const std::string content = Describe(source);
    QuorvelAudioProfile copy(source);
    QuorvelAudioProfile copiedByMove(std::move(static_cast<QuorvelAudioProfile&>(source)));
    RowProfile assigned;
    assigned.GetChain(5, true);
    assigned = source;
    QuorvelAudioProfileWrapper wrapper;
    wrapper.profile = source;
    QuorvelAudioProfileWrapper wrapperCopy(wrapper);
    for (QuorvelAudioProfile* profile :
         {&copy, &copiedByMove, &wrapperCopy.profile, static_cast<QuorvelAudioProfile*>(&assigned),
          static_cast<QuorvelAudioProfile*>(&source)}) {
        EXPECT_EQ(Describe(*profile), content);
        EXPECT_EQ(profile->pathsCapacity, 2u);
        ExpectPointersInto(*profile);
    }
    EXPECT_EQ(copy.GetCookie(), -5);
    EXPECT_NE(copy.Path(0), source.Path(0));
}

TEST(ProfileCopies, MoveAssignmentTakesPathsAndChains) {
    QuorvelAudioProfile source(static_cast<const QuorvelAudioProfile&>(RowProfile()));
    const std::string content = Describe(source);
    RowProfile target;
    target = std::move(source);
    EXPECT_EQ(Describe(target), content);
    ExpectPointersInto(target);
    EXPECT_EQ(source.PathsCount() + source.pathsCapacity + source.chains.Count(), 0u);
    EXPECT_TRUE(source.AddPath(u"usable"));
    EXPECT_NE(source.GetChain(1, true), nullptr);
}

TEST(ProfileCopies, SelfAssignmentChangesNothing) {
    RowProfile profile;
    const std::string content = Describe(profile);
    QuorvelAudioProfile& self = profile;
    QuorvelAudioBlocksChain& chain = *profile.GetChain(1, false);
    QuorvelAudioBlock& block = chain.blocks.Item(0);
    const auto assign = [](auto& to, auto& from) { to = from; };
    const auto moveAssign = [](auto& to, auto& from) { to = std::move(from); };
    assign(self, self);
    moveAssign(self, self);
    assign(chain, chain);
    moveAssign(chain, chain);
    assign(block, block);
    EXPECT_EQ(Describe(profile), content);
}

TEST(Chain, MoveConstructionCopiesAndMoveAssignmentTakes) {
    RowProfile profile;
    QuorvelAudioBlocksChain& source = *profile.GetChain(1, false);
    QuorvelAudioBlocksChain copy(std::move(source));
    EXPECT_EQ(source.blocks.Count(), 3u);
    EXPECT_EQ(Describe(copy), Describe(source));
    profile.id = NumberedGuid(2);
    QuorvelAudioBlocksChain taken(&profile, 9);
    taken = std::move(source);
    EXPECT_EQ(taken.id, 1u);
    EXPECT_TRUE(taken.profileId == NumberedGuid(2));  // read afresh
    EXPECT_EQ(taken.blocks.Count(), 3u);
    EXPECT_EQ(source.blocks.Count() + source.links.Count(), 0u);
}

TEST(Block, KnowsItsOwnersButCopiesForgetTheChain) {
    RowProfile profile;
    QuorvelAudioBlocksChain& chain = *profile.GetChain(1, false);
    QuorvelAudioBlock block(&profile, &chain, quorvel::kMixerBlockTypeId);
    EXPECT_FALSE(block.id == GUID{});
    EXPECT_EQ(block.chainId, 1u);
    EXPECT_TRUE(block.profileId == profile.id);
    EXPECT_EQ(block.chain, &chain);
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_EQ(QuorvelAudioBlock(block).chain, nullptr);
    EXPECT_EQ(chain.blocks.Add(block).chain, nullptr);
    QuorvelAudioBlock unchained(&profile, nullptr, GUID{}, NumberedGuid(5));
    EXPECT_EQ(unchained.chainId, 0u);
    block = unchained;
    EXPECT_EQ(block.chain, &chain);
    EXPECT_EQ(block.chainId, 0u);
}

TEST(Block, DataBufferOnlyGrows) {
    QuorvelAudioProfile profile;
    QuorvelAudioBlock block(&profile, nullptr, GUID{}, GUID{});
    char ten[] = "abcdefghij";
    block.SetData(ten, 10);
    const void* const buffer = block.Data();
    block.SetData(ten + 6, 4);
    EXPECT_EQ(block.Data(), buffer);
    EXPECT_EQ(block.DataSize(), 4u);
    EXPECT_EQ(block.dataCapacity, 10u);
    EXPECT_EQ(std::memcmp(block.Data(), "ghijefghij", 10), 0);
    block.SetData(nullptr, 0);
    block.SetData(nullptr, 7);
    EXPECT_EQ(block.DataSize(), 4u);
    QuorvelAudioBlock copy(block);
    EXPECT_EQ(copy.dataCapacity, 4u);
    block.SetData(nullptr, 11);
    EXPECT_EQ(block.DataSize(), 0u);
    EXPECT_EQ(block.dataCapacity, 11u);
    block.ClearData();
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_EQ(block.dataCapacity, 0u);
}

TEST(FreshIds, FollowTheSystemsAnswer) {
    const GUID before = NumberedGuid(8);
    for (const RPC_STATUS status : {RPC_S_OK, RPC_S_UUID_LOCAL_ONLY, RPC_S_UUID_NO_ADDRESS}) {
        const bool isAccepted = status != RPC_S_UUID_NO_ADDRESS;
        uuidStatus = status;
        QuorvelAudioProfile profile;
        profile.id = before;
        GUID out = before;
        EXPECT_EQ(QuorvelAudioProfile::GenerateNewID(out), isAccepted);
        EXPECT_EQ(out == before, !isAccepted);
        EXPECT_EQ(profile.GenerateNewID(), isAccepted);
        EXPECT_EQ(profile.id == before, !isAccepted);
        EXPECT_EQ(QuorvelAudioBlock(&profile, nullptr, before).id == GUID{}, !isAccepted);
    }
    uuidStatus = RPC_S_OK;
}

// Programs that link the classes read the fields where these orders put them.
TEST(Fields, LieInTheirOrder) {
    QuorvelAudioProfile p;
    QuorvelAudioBlocksChain c(&p, 1);
    QuorvelAudioBlock b(&p, &c, GUID{}, GUID{});
    const std::vector<const void*> orders[] = {
        {&p, &p.id, &p.chains, &p.cookie, &p.paths, &p.pathsCount, &p.pathsCapacity},
        {&c.id, &c.profileId, &c.blocks, &c.links, &c.profile},
        {&b, &b.id, &b.typeId, &b.profileId, &b.chainId, &b.dataSize, &b.dataCapacity, &b.data,
         &b.profile, &b.chain},
    };
    for (const auto& order : orders)
        EXPECT_TRUE(std::ranges::adjacent_find(order, std::greater_equal<>()) == order.end());
}

}  // namespace
