// What the model leaves out of replacements: the ends, the block that goes, and refusals.
#include <gtest/gtest.h>

#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "tests/support/topology.h"

namespace quorvel::test {
namespace {

TEST(AudioGraphChange, ReplacedBlocksAreCutOff) {
    const float gainDb = -12.0f;
    AudioGraph graph;
    AddProbes(graph, 3, {{1, 2}, {2, 3}});
    for (const std::uint32_t number : {1u, 2u, 3u}) {
        const GUID id = NumberedId(number);
        const auto old = graph.FindBlock(id);
        for (const bool fails : {true, false}) {
            const auto replace = [&] {
                EXPECT_TRUE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, id));
                if (fails) throw fails;
            };
            if (fails)
                EXPECT_ANY_THROW(graph.ChangeWhole(replace));
            else
                graph.ChangeWhole(replace);
            const auto block = graph.FindBlock(id);
            EXPECT_EQ(block == old, fails);
            EXPECT_EQ(block->graph, &graph);
            const auto &heads = graph.Network().Heads(), &tails = graph.Network().Tails();
            ASSERT_TRUE(heads.size() == 1 && tails.size() == 1);
            EXPECT_EQ(*heads.begin() == block, number == 1);
            EXPECT_EQ(*tails.begin() == block, number == 3);
        }
        EXPECT_TRUE(old->inputs.empty() && old->outputs.empty() && !old->graph);
    }
    EXPECT_FALSE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(7)));
    EXPECT_FALSE(graph.ReplaceBlock(NumberedId(7), &gainDb, 4, NumberedId(1)));

    graph.LinkById(NumberedId(2), NumberedId(2));
    EXPECT_TRUE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(2)));
    EXPECT_FALSE(graph.IsValid()) << "the new block feeds itself too";
    graph.UnlinkById(NumberedId(2), NumberedId(2));
    EXPECT_TRUE(graph.IsValid());
}

}  // namespace
}  // namespace quorvel::test
