// What the model leaves out of changes and replacements: blocks that go, and refusals.
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
    const auto old = graph.FindBlock(NumberedId(2));
    graph.ChangeWhole(
        [&] { EXPECT_TRUE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(2))); });
    EXPECT_TRUE(old->inputs.empty() && old->outputs.empty() && !old->graph);
    EXPECT_EQ(graph.FindBlock(NumberedId(2))->graph, &graph);
    EXPECT_FALSE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(7)));
    EXPECT_FALSE(graph.ReplaceBlock(NumberedId(7), &gainDb, 4, NumberedId(1)));
}

}  // namespace
}  // namespace quorvel::test
