#include "profile/items_list.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "profile/audio_lists.h"
#include "profile/make_room.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "profile/quorvel_audio_profile.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/random_profile.h"

namespace {

using quorvel::test::AllocationFaults;
using quorvel::test::NumberedGuid;

// One element kind: how to make number `n`, and a `Twin` that equals it but for a field that
// equality ignores.
struct BlockKind {
    using List = QuorvelAudioBlocksList;
    QuorvelAudioBlock Make(unsigned n) {
        QuorvelAudioBlock block(&profile, nullptr, NumberedGuid(1000), NumberedGuid(n));
        block.SetData(&n, sizeof(n));
        return block;
    }
    QuorvelAudioBlock Twin(unsigned n) {
        return QuorvelAudioBlock(&profile, nullptr, NumberedGuid(2000), NumberedGuid(n));
    }
    static unsigned Number(const QuorvelAudioBlock& block) {
        EXPECT_EQ(std::memcmp(block.data, &block.id, sizeof(unsigned)), 0);
        return block.id.Data1;
    }
    QuorvelAudioProfile profile;
};

struct LinkKind {
    using List = QuorvelAudioBlocksLinksList;
    _QuorvelAudioBlockLink Make(unsigned n) { return {{}, n, NumberedGuid(n), NumberedGuid(1)}; }
    _QuorvelAudioBlockLink Twin(unsigned n) { return {{}, ~n, NumberedGuid(n), NumberedGuid(1)}; }
    static unsigned Number(const _QuorvelAudioBlockLink& link) { return link.chainId; }
};

struct ChainKind {
    using List = QuorvelAudioBlocksChainsList;
    QuorvelAudioBlocksChain Make(unsigned n) {
        QuorvelAudioBlocksChain chain(&profile, n);
        QuorvelAudioBlock block = BlockKind{}.Make(n);
        block.profile = &profile;
        chain.blocks.Add(block);
        return chain;
    }
    QuorvelAudioBlocksChain Twin(unsigned n) { return QuorvelAudioBlocksChain(&profile, n); }
    static unsigned Number(const QuorvelAudioBlocksChain& chain) {
        EXPECT_EQ(BlockKind::Number(chain.blocks.Item(0)), chain.id);
        return static_cast<unsigned>(chain.id);
    }
    QuorvelAudioProfile profile;
};

struct GuidKind {
    using List = QuorvelAudioProfilesList;
    GUID Make(unsigned n) { return NumberedGuid(n); }
    GUID Twin(unsigned n) { return NumberedGuid(n); }
    static unsigned Number(const GUID& guid) { return guid.Data1; }
};

template <typename Kind>
class ItemsListOf : public testing::Test {
  protected:
    using List = typename Kind::List;

    void Add(List& target, std::initializer_list<unsigned> numbers) {
        for (const unsigned n : numbers) {
            auto item = kind.Make(n);
            target.Add(item);
        }
    }

    static std::vector<unsigned> Numbers(const List& source) {
        std::vector<unsigned> numbers;
        for (unsigned i = 0; i < source.Count(); ++i)
            numbers.push_back(Kind::Number(source.Item(i)));
        return numbers;
    }

    Kind kind;
    List list;
};

using Kinds = testing::Types<BlockKind, LinkKind, ChainKind, GuidKind>;
TYPED_TEST_SUITE(ItemsListOf, Kinds);

TYPED_TEST(ItemsListOf, GrowsToTwiceTheNeedAndKeepsItsElements) {
    EXPECT_EQ(this->list.items, nullptr);
    const unsigned capacities[] = {2, 2, 6, 6, 6, 6};
    for (unsigned i = 0; i < 6; ++i) {
        this->Add(this->list, {i});
        EXPECT_EQ(this->list.capacity, capacities[i]);
    }
    this->list.Add(this->list.Item(1));  // an element of the list itself, which moves
    EXPECT_EQ(this->list.capacity, 14u);
    EXPECT_EQ(this->Numbers(this->list), (std::vector<unsigned>{0, 1, 2, 3, 4, 5, 1}));
    EXPECT_EQ(this->list.Data(), this->list.items);
    EXPECT_EQ(this->list.invalidPos, 0xFFFFFFFFu);
}

TYPED_TEST(ItemsListOf, FindsAndRemovesTheFirstEqualElement) {
    auto twin = this->kind.Twin(5);
    EXPECT_EQ(this->list.FindPos(twin), 0xFFFFFFFFu);
    EXPECT_EQ(this->list.Find(twin), nullptr);
    EXPECT_FALSE(this->list.Remove(twin));
    this->Add(this->list, {4, 5, 6, 5, 7});
    EXPECT_EQ(this->list.FindPos(twin), 1u);
    EXPECT_EQ(this->list.Find(twin), this->list.items + 1);
    EXPECT_TRUE(this->list.Remove(twin));
    EXPECT_EQ(this->Numbers(this->list), (std::vector<unsigned>{4, 6, 5, 7}));
    this->list.RemoveAt(4);
    this->list.RemoveAt(0xFFFFFFFF);
    EXPECT_EQ(this->list.Count(), 4u);
    this->list.RemoveAt(3);
    this->list.RemoveAt(0);
    EXPECT_EQ(this->Numbers(this->list), (std::vector<unsigned>{6, 5}));
    EXPECT_EQ(this->list.capacity, 6u);
}

TYPED_TEST(ItemsListOf, ConstructionCopiesEvenWhenItMoves) {
    this->Add(this->list, {1, 2, 3});
    typename TypeParam::List copy(this->list);
    typename TypeParam::List moved(std::move(this->list));
    EXPECT_EQ(this->Numbers(copy), (std::vector<unsigned>{1, 2, 3}));
    EXPECT_EQ(this->Numbers(moved), (std::vector<unsigned>{1, 2, 3}));
    EXPECT_EQ(this->Numbers(this->list), (std::vector<unsigned>{1, 2, 3}));
    EXPECT_EQ(copy.capacity, 6u);
}

TYPED_TEST(ItemsListOf, MoveAssignmentTakesTheArrayAndReleasesItsOwn) {
    AllocationFaults memory;
    {
        typename TypeParam::List source;
        typename TypeParam::List target;
        this->Add(source, {1, 2});
        this->Add(target, {3});
        const auto* const array = source.items;
        target = std::move(source);
        EXPECT_EQ(target.items, array);
        EXPECT_EQ(this->Numbers(target), (std::vector<unsigned>{1, 2}));
        EXPECT_EQ(source.items, nullptr);
        EXPECT_EQ(source.count + source.capacity, 0u);
        auto& self = target;
        target = std::move(self);
        target = self;
        EXPECT_EQ(this->Numbers(target), (std::vector<unsigned>{1, 2}));
    }
    EXPECT_EQ(memory.Live(), 0u);
}

TYPED_TEST(ItemsListOf, ClearDestroysTheElementsAndKeepsTheArray) {
    AllocationFaults memory;
    this->Add(this->list, {1, 2, 3});
    const auto* const array = this->list.items;
    this->list.Clear();
    EXPECT_EQ(this->list.Count(), 0u);
    EXPECT_EQ(memory.Live(), 1u);
    this->Add(this->list, {9});
    EXPECT_EQ(this->list.items, array);
    EXPECT_EQ(this->list.capacity, 6u);
    EXPECT_EQ(this->Numbers(this->list), (std::vector<unsigned>{9}));
}

TYPED_TEST(ItemsListOf, MisuseEndsTheProcess) {
    const testing::KilledBySignal isAborted(SIGABRT);
    auto item = this->kind.Make(1);
    this->list.Add(item);
    EXPECT_EXIT(this->list.Item(1), isAborted, "");
    EXPECT_EXIT(std::as_const(this->list).Item(0xFFFFFFFF), isAborted, "");
    const auto addWithoutMemory = [&] {
        typename TypeParam::List empty;
        AllocationFaults faults(0);
        empty.Add(item);
    };
    EXPECT_EXIT(addWithoutMemory(), isAborted, "");
}

TEST(ItemsList, AllocateAndResizeDifferOnlyInTheCount) {
    QuorvelAudioProfilesList list;
    EXPECT_TRUE(list.Allocate(5));
    EXPECT_EQ(list.capacity, 10u);
    EXPECT_EQ(list.Count(), 0u);
    EXPECT_TRUE(list.Resize(3));
    EXPECT_EQ(list.capacity, 10u);
    EXPECT_EQ(list.Count(), 3u);
    EXPECT_TRUE(list.Resize(11));
    EXPECT_EQ(list.capacity, 22u);
    for (const unsigned n : {0x80000000u, 0x80000001u, 0xFFFFFFFFu}) {  // sizes must not wrap
        QuorvelAudioProfilesList huge;
        AllocationFaults memory;
        EXPECT_FALSE(huge.Allocate(n));
        EXPECT_EQ(memory.Asked(), 0u);
    }
}

TEST(ItemsList, CopyOverwritesWithoutDestroying) {
    BlockKind kind;
    QuorvelAudioBlock first = kind.Make(1);
    QuorvelAudioBlock second = kind.Make(2);
    QuorvelAudioBlocksList list;
    QuorvelAudioBlocksList source;
    list.Add(first);
    source.Add(second);
    void* const overwritten = list.Item(0).Data();
    list.Copy(source);
    EXPECT_EQ(BlockKind::Number(list.Item(0)), 2u);
    EXPECT_NE(list.Item(0).Data(), overwritten);
    std::free(overwritten);  // nobody did
}

TEST(ItemsList, FailedGrowthForgetsTheArrayButMakeRoomKeepsIt) {
    for (const char* const way : {"Allocate", "Resize", "Copy", "MakeRoom"}) {
        SCOPED_TRACE(way);
        AllocationFaults faults(1);
        QuorvelAudioProfilesList list, longer;
        GUID item = NumberedGuid(4);
        list.Add(item);
        const GUID* const array = list.items;
        longer.count = 3;  // an array of its own would be the failing allocation
        const bool isKept = *way == 'M';
        EXPECT_FALSE(*way == 'A'   ? list.Allocate(3)
                     : *way == 'R' ? list.Resize(3)
                     : isKept      ? quorvel::MakeRoom(list, 3)
                                   : (list.Copy(longer), false));
        longer.count = 0;
        EXPECT_EQ(list.items, isKept ? array : nullptr);
        EXPECT_EQ(list.count, isKept ? 1u : 0u);
        EXPECT_EQ(list.capacity, isKept ? 2u : 0u);
        EXPECT_EQ(faults.Live(), 1u);
        if (!isKept) faults.ReleaseLive();
    }
}

}  // namespace
