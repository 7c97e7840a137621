// Which edits are refused, and which buffers the blocks share.
#include <gtest/gtest.h>

#include <array>

#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::AddProbes;
using test::Links;
using test::MakeProbe;
using test::NumberedId;
using test::SetStereo;
using test::UsedBuffers;

TEST(AudioGraphStructure, BlocksOfOtherGraphsAreNotLinked) {
    AudioGraph graph, other;
    const auto mine = MakeProbe(1);
    const auto foreign = MakeProbe(2);
    graph.AddBlockAndConnect(mine);
    other.AddBlockAndConnect(foreign);
    EXPECT_FALSE(graph.LinkBlocks(mine, foreign));
    EXPECT_FALSE(graph.Unlink(foreign, mine));
    EXPECT_FALSE(graph.RemoveBlock(foreign));
    EXPECT_TRUE(mine->outputs.empty());
}

TEST(AudioGraphStructure, BlockIdsAreWrittenOnePastTheCount) {
    AudioGraph graph;
    SetStereo(graph);
    AddProbes(graph, 3, {{2, 1}, {2, 3}});  // the graph adds a mixer, which is never listed
    const GUID untouched = NumberedId(77);
    std::array<GUID, 5> ids;
    ids.fill(untouched);
    EXPECT_EQ(graph.GetBlockIds(ids.data(), 1), 1);
    EXPECT_TRUE(ids[0] == NumberedId(1) && ids[1] == NumberedId(2) && ids[2] == untouched);
    ids.fill(untouched);
    EXPECT_EQ(graph.GetBlockIds(ids.data(), 4), 3);
    EXPECT_TRUE(ids[2] == NumberedId(3) && ids[3] == untouched);
    EXPECT_EQ(graph.GetBlockIds(nullptr, 4), 0);
}

TEST(AudioGraphStructure, ChainSharesOneBufferInPlace) {
    AudioGraph graph;
    SetStereo(graph);
    AddProbes(graph, 3, {{1, 2}, {2, 3}});
    const auto& nodes = graph.Nodes();
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_NE(nodes[0].outBuffer, nullptr);
    EXPECT_EQ(nodes[1].outBuffer, nodes[0].outBuffer);
    EXPECT_EQ(nodes[2].outBuffer, nullptr);
    EXPECT_EQ(graph.Buffers().Count(), 1u);
    EXPECT_EQ(nodes[0].outBuffer->capacityBytes, 480u * 2 * 4);
    EXPECT_EQ(nodes[0].outBuffer->users, 4u);  // writer, two readers, in-place sharer
}

TEST(AudioGraphStructure, SharedOrUnwillingBlocksGetTheirOwnBuffer) {
    AudioGraph graph;
    SetStereo(graph);
    auto probes = AddProbes(graph, 4, {{1, 2}, {1, 3}, {2, 4}, {3, 4}});
    EXPECT_EQ(UsedBuffers(graph), 3);  // block 1 feeds two, so neither may write into its buffer
    graph.Clear(false);
    EXPECT_EQ(graph.Buffers().Count(), 3u);
    EXPECT_EQ(UsedBuffers(graph), 0);
    graph.SetUpdating(true);
    probes = AddProbes(graph, 3, {});
    probes[1]->canProcessInPlace = false;
    graph.LinkById(NumberedId(1), NumberedId(2));
    graph.LinkById(NumberedId(2), NumberedId(3));
    graph.SetUpdating(false);
    EXPECT_EQ(UsedBuffers(graph), 2);
    EXPECT_EQ(graph.Buffers().Count(), 3u);  // reused, not made anew
    graph.Clear(true);
    EXPECT_EQ(graph.Buffers().Count(), 0u);
}

// First fit in creation order, on a pool whose buffers differ in size.
TEST(BufferPlanner, TakesTheFirstFreeBufferThatIsLargeEnough) {
    BufferPool pool;
    for (const uint64_t bytes : {8u, 32u, 16u, 64u, 32u})
        ASSERT_TRUE(pool.Append(bytes));
    pool.At(1).users = 1;
    BufferPlanner planner(pool);
    EXPECT_EQ(planner.AcquireBuffer(4, 1), &pool.At(2));
    EXPECT_EQ(planner.AcquireBuffer(4, 1), &pool.At(3));
    EXPECT_EQ(planner.AcquireBuffer(1, 1), &pool.At(0));
    EXPECT_EQ(planner.AcquireBuffer(4, 2), &pool.At(4));
    AudioBuffer* fresh = planner.AcquireBuffer(1, 1);
    ASSERT_EQ(pool.Count(), 6u);
    EXPECT_EQ(fresh, &pool.At(5));
    EXPECT_EQ(planner.AcquireBuffer(480, -1), nullptr);
    EXPECT_EQ(planner.AcquireBuffer(1 << 30, 1 << 30), nullptr);
}

// A width that no memory holds makes the graph invalid, wherever in the chain it is asked for.
TEST(AudioGraphStructure, HostileWidthsAreRefused) {
    for (const uint32_t width : {0xFFFFFFFFu, 0x7FFFFFFFu, 0x00400000u}) {
        for (const Links& links : {Links{}, Links{{1, 2}}, Links{{2, 1}}}) {
            AudioGraph graph;
            graph.SetNoiseEnabled(false);
            SetStereo(graph);
            AddProbes(graph, links.empty() ? 0 : 2, {});
            graph.SetUpdating(true);
            graph.RemoveBlockById(NumberedId(1));
            const uint32_t record[2] = {width, 0};
            graph.AddNewBlock(kStreamExpanderBlockTypeId, record, 8, NumberedId(1));
            for (const auto& [a, b] : links)
                graph.LinkById(NumberedId(a), NumberedId(b));
            graph.SetUpdating(false);
            EXPECT_FALSE(graph.IsValid());
            std::vector<float> in(960, 0.5f), out(960);
            graph.Process(in.data(), out.data(), 480);
            EXPECT_EQ(out, in);
        }
    }
}

// A hostile profile must not exhaust the stack, neither when it is built nor when it is dropped,
// and shapes that invite quadratic work must build in reasonable time.
TEST(AudioGraphStructure, VeryLargeGraphsBuildAndGo) {
    constexpr uint32_t kBlocks = 100000;
    Links chain, star, comb;
    for (uint32_t n = 1; n < kBlocks; ++n) {
        chain.emplace_back(n, n + 1);
        star.emplace_back(1, n + 1);
        comb.emplace_back(n <= kBlocks / 2 ? n : n - kBlocks / 2, n + 1);
    }
    AudioGraph graph;
    graph.SetInputFormat(1, 4, 200);  // two frames a buffer keep the memory small
    graph.SetOutputFormat(1, 4, 200);
    for (const Links& links : {chain, star, comb}) {
        AddProbes(graph, kBlocks, links);
        EXPECT_TRUE(graph.IsValid());
        EXPECT_GE(graph.Nodes().size(), kBlocks);
        graph.Clear(false);
    }
    chain.emplace_back(kBlocks, 1);
    AddProbes(graph, kBlocks, chain);
    EXPECT_FALSE(graph.IsValid());
}

}  // namespace
}  // namespace quorvel
