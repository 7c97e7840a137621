// A chain that asks for more than an object takes.
#include <gtest/gtest.h>

#include <array>
#include <new>
#include <utility>
#include <vector>

#include "engine/graph_from_chain.h"
#include "kinds/block_type_ids.h"
#include "tests/support/chain_maker.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::ChainMaker;
using test::NumberedId;
using Numbers = std::array<uint32_t, 2>;  // a record of two

// A record beyond a limit, which record_limits_test.cpp tells of every kind, is refused like one
// that is too short: the block has its defaults.
TEST(ChainLimits, RecordsBeyondTheLimitsAreRefused) {
    for (const auto& [record, width] : {std::pair{Numbers{64, 0}, 64}, {Numbers{65, 0}, 2}}) {
        AudioGraph graph;
        test::SetStereo(graph);
        ChainMaker maker;
        maker.Block(1, kStreamExpanderBlockTypeId, record);
        BuildGraphFromChain(graph, maker.Chain());
        EXPECT_TRUE(graph.IsValid());
        EXPECT_EQ(graph.FindBlock(NumberedId(1))->GetOutputChannels(), width);
    }
}

TEST(ChainLimits, WidthsThatAddUpBeyondTheLimitPassTheInputThrough) {
    AudioGraph graph;
    test::SetStereo(graph);
    ChainMaker maker;
    maker.Block(1, kStreamExpanderBlockTypeId, Numbers{60, 1})
        .Block(2, kChannelsCombinerBlockTypeId, Numbers{1, 4})
        .Block(3, kGainBlockTypeId, -6.0f);
    maker.Link(1, 2).Link(2, 3);
    BuildGraphFromChain(graph, maker.Chain());
    EXPECT_TRUE(graph.IsValid());
    const auto combiner = graph.FindBlock(NumberedId(2));
    for (const auto& [offset, isValid] : {std::pair(5u, false), {40u, false}, {3u, true}}) {
        const Numbers record = {1, offset};
        EXPECT_TRUE(combiner->SetParameters(&record));
        EXPECT_EQ(graph.IsValid(), isValid) << offset;
        std::vector<float> in(960, 0.25f), out(960);
        graph.Process(in.data(), out.data(), 480);
        EXPECT_EQ(out == in, !isValid) << offset;
        // A change that fails leaves the graph as ready for the next one as it was.
        const Numbers narrow = {1, 2};
        EXPECT_THROW(graph.ChangeWhole(
                         [&] {
                             combiner->SetParameters(&narrow);
                             throw std::bad_alloc();
                         },
                         [&] { combiner->SetParameters(&record); }),
                     std::bad_alloc);
        EXPECT_EQ(graph.IsValid(), isValid) << offset;
    }
    graph.SetInputFormat(8, 0x63F, 48000);
    const Numbers far = {1, 63}, none = {0, 1};
    EXPECT_TRUE(graph.FindBlock(NumberedId(1))->SetParameters(&none));  // as wide as the input
    EXPECT_TRUE(combiner->SetParameters(&far));
    EXPECT_FALSE(graph.IsValid());
    graph.SetInputFormat(1, 4, 48000);
    EXPECT_TRUE(graph.IsValid());
}

// Links that are still to come must not find a list that was built without them.
TEST(ChainLimits, NothingIsBuiltWhileTheGraphIsSuspended) {
    AudioGraph graph;
    test::SetStereo(graph);
    graph.LimitWidths(4, 100);
    const Numbers wide = {5, 1}, narrow = {4, 1};
    const auto expander =
        graph.AddNewBlockWithParameters(&wide, kStreamExpanderBlockTypeId, NumberedId(1));
    EXPECT_FALSE(graph.IsValid());
    graph.SetUpdating(true);
    expander->SetParameters(&narrow);
    for (const bool isCleared : {false, true}) {
        if (isCleared) {
            graph.Clear(false);
            graph.AddNewBlock(kGainBlockTypeId, nullptr, 0, NumberedId(2));
        }
        graph.SetFormats(&graph.OutputFormat().Format, &graph.InputFormat().Format);
        EXPECT_TRUE(graph.Nodes().empty()) << isCleared;
    }
    graph.SetUpdating(false);
    EXPECT_TRUE(graph.IsValid());
    EXPECT_EQ(graph.Nodes().size(), 1u);
}

// 64 channels of 256 blocks are the most; a first record that makes all of them wider is refused by
// passing the input through.
TEST(ChainLimits, TooManyChannelsTogetherPassTheInputThrough) {
    AudioGraph graph;
    test::SetStereo(graph);
    ChainMaker maker;
    maker.Block(1, kStreamExpanderBlockTypeId, Numbers{63, 1});
    for (uint32_t number = 2; number <= 257; ++number)
        maker.Block(number, kGainBlockTypeId, -1.0f).Link(number - 1, number);
    BuildGraphFromChain(graph, maker.Chain());
    EXPECT_TRUE(graph.IsValid());
    const auto expander = graph.FindBlock(NumberedId(1));
    for (const uint32_t width : {64u, 2u, 64u}) {
        const Numbers record = {width, 1};
        EXPECT_TRUE(expander->SetParameters(&record));
        EXPECT_EQ(graph.IsValid(), width == 2) << width;
    }
    graph.RemoveBlockById(NumberedId(257));
    EXPECT_TRUE(graph.IsValid());
    EXPECT_EQ(graph.FindBlock(NumberedId(256))->GetOutputChannels(), 64);
    for (const auto channels : std::initializer_list<uint16_t>{2, 80, 80}) {
        graph.SetOutputFormat(channels, 0, 48000);
        EXPECT_TRUE(graph.IsValid()) << "the adapter of " << channels << " does not count";
    }
}

TEST(ChainLimits, LongChainsGiveTheirFirstBlocksAndLinks) {
    ChainMaker maker;
    for (uint32_t number = 1; number <= 4098; ++number)
        maker.Block(number, kMixerBlockTypeId, 0.0f);
    for (uint32_t number = 1; number < 4096; ++number)
        maker.Link(number, number + 1);
    AudioGraph graph;
    BuildGraphFromChain(graph, maker.Chain());
    EXPECT_TRUE(graph.IsValid());
    EXPECT_EQ(graph.Nodes().size(), 4096u);
    while (maker.Chain()->links.Count() < 16384)
        maker.Link(1, 2);
    maker.Link(2, 1);  // would be a cycle
    BuildGraphFromChain(graph, maker.Chain());
    EXPECT_TRUE(graph.IsValid());
}

}  // namespace
}  // namespace quorvel
