// From a profile's chain to a graph.
#include "engine/graph_from_chain.h"

#include <gtest/gtest.h>

#include <vector>

#include "kinds/block_type_ids.h"
#include "tests/support/chain_maker.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::ChainMaker;
using test::NumberedId;

TEST(GraphFromChain, OddChainsAreSkippedInPart) {
    struct {
        const char* name;
        ChainMaker maker;
        bool isValid;
        std::vector<uint32_t> order;
    } cases[] = {
        {"one block", ChainMaker().Block(1, kGainBlockTypeId, -6.0f), true, {1}},
        {"refused record", ChainMaker().Block(1, kGainBlockTypeId, 'x'), true, {1}},
        {"links first",
         ChainMaker().Link(1, 2).Block(2, kGainBlockTypeId, 0.0f).Block(1, kGainBlockTypeId, 0.0f),
         true,
         {1, 2}},
        {"unknown kind breaks the chain",
         ChainMaker()
             .Block(1, kGainBlockTypeId, 0.0f)
             .Block(2, NumberedId(9), 0.0f)
             .Block(3, kGainBlockTypeId, 0.0f)
             .Link(1, 2)
             .Link(2, 3),
         false,
         {}},
        {"first of two ids wins",
         ChainMaker().Block(1, kGainBlockTypeId, 0.0f).Block(1, kMixerBlockTypeId, 0.0f),
         true,
         {1}},
        {"link to itself", ChainMaker().Block(1, kGainBlockTypeId, 0.0f).Link(1, 1), false, {}},
    };
    AudioGraph graph;
    test::SetStereo(graph);
    for (auto& test : cases) {
        BuildGraphFromChain(graph, test.maker.Chain());
        EXPECT_EQ(graph.IsValid(), test.isValid) << test.name;
        EXPECT_EQ(test::Order(graph), test.order) << test.name;
        if (!test.order.empty()) {
            EXPECT_TRUE(graph.Nodes()[0].block->GetTypeId() == kGainBlockTypeId) << test.name;
        }
    }
    BuildGraphFromChain(graph, nullptr);
    EXPECT_TRUE(graph.IsValid() && graph.Nodes().empty());
}

}  // namespace
}  // namespace quorvel
