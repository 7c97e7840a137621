// From a profile's chain to sound.
#include "engine/graph_from_chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "blocks/compressor_block.h"
#include "blocks/limiter_block.h"
#include "blocks/noise_gate_block.h"
#include "dsp/biquad/filter_band.h"
#include "kinds/block_type_ids.h"
#include "tests/support/chain_maker.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::ChainMaker;
using test::NumberedId;

struct ThreeBands {
    uint32_t count = 3;
    FilterBand bands[3] = {{100.0f, 0.7f, BandwidthMode::Q, 3.0f},
                           {1000.0f, 1.4f, BandwidthMode::Octaves, -6.0f},
                           {8000.0f, 2.0f, BandwidthMode::Q, 4.0f}};
};
using Numbers = std::array<uint32_t, 2>;  // a record of two
struct TwoOffsets {
    uint32_t count = 2;
    int32_t offsets[2] = {0, 1};
};

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

// Split, equalise one side, compress the other, lay both over each other, limit.
ChainMaker MakeBranchingChain() {
    ChainMaker maker;
    maker.Block(1, kMixerBlockTypeId, 0.0f)
        .Block(2, kPeakingEQFilterBlockTypeId, ThreeBands{})
        .Block(3, kCompressorBlockTypeId, CompressorParameters{-30.0f, 5, 60, 0.3f})
        .Block(4, kNoiseGateBlockTypeId, NoiseGateParameters{-40.0f, 2, 20})
        .Block(5, kChannelsCombinerBlockTypeId, TwoOffsets{})
        .Block(6, kLowShelfFilterBlockTypeId, ThreeBands{})
        .Block(7, kLimiterBlockTypeId, LimiterParameters{-12.0f, 3, 40});
    maker.Link(1, 2).Link(1, 3).Link(3, 4).Link(2, 5).Link(4, 5).Link(5, 6).Link(6, 7);
    return maker;
}

TEST(GraphFromChain, SoundDoesNotDependOnBlockSize) {
    constexpr int32_t kFrames = 4800;
    std::vector<float> input(2 * kFrames);
    for (std::size_t i = 0; i < input.size(); ++i) {
        const auto t = static_cast<float>(i / 2);
        const float loud = (i / 1700) % 2 ? 0.9f : 0.004f;
        input[i] = loud * std::sin(t * (i % 2 ? 0.031f : 0.17f));
    }
    auto maker = MakeBranchingChain();
    const auto render = [&](int32_t blockFrames) {
        AudioGraph graph;
        graph.SetNoiseEnabled(false);
        BuildGraphFromChain(graph, maker.Chain());
        test::SetStereo(graph);
        auto in = input;
        std::vector<float> out(in.size());
        for (int32_t f = 0; f < kFrames; f += blockFrames) {
            graph.Process(&in[static_cast<std::size_t>(2 * f)],
                          &out[static_cast<std::size_t>(2 * f)],
                          std::min(blockFrames, kFrames - f));
        }
        return out;
    };
    const auto whole = render(kFrames);
    EXPECT_GT(*std::ranges::max_element(whole), 0.05f);
    for (const int32_t frames : {1, 31, 480, 1000})
        EXPECT_EQ(render(frames), whole) << frames;
}

// Parameters reach the live block and leave its signal state alone; other edits rebuild.
TEST(GraphFromChain, LiveEditsFollowTheChain) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    graph.SetInputFormat(1, 4, 48000);
    graph.SetOutputFormat(1, 4, 48000);
    ChainMaker maker;
    maker.Block(1, kLimiterBlockTypeId, LimiterParameters{0.0f, 1, 10});
    BuildGraphFromChain(graph, maker.Chain());
    std::vector<float> in(480, 0.5f), out(480);
    graph.Process(in.data(), out.data(), 480);
    const float gainDb = -20.0f;
    graph.AddNewBlock(kGainBlockTypeId, &gainDb, sizeof(gainDb), NumberedId(2));
    EXPECT_FALSE(graph.IsValid());
    graph.LinkById(NumberedId(1), NumberedId(2));
    ASSERT_TRUE(graph.IsValid());
    const float louderDb = 0.0f;
    EXPECT_TRUE(graph.FindBlock(NumberedId(2))->SetParameterData(&louderDb, sizeof(louderDb)));
    graph.Process(in.data(), out.data(), 480);
    EXPECT_EQ(out[0], 0.0f);  // the rebuild configured the limiter anew, its delay starts empty
    EXPECT_EQ(out[479], 0.5f);
    EXPECT_TRUE(graph.FindBlock(NumberedId(2))->SetParameterData(&gainDb, sizeof(gainDb)));
    graph.Process(in.data(), out.data(), 480);
    EXPECT_FLOAT_EQ(out[0], 0.05f);  // a parameter change does not
    graph.RemoveBlockById(NumberedId(1));
    graph.Process(in.data(), out.data(), 480);
    EXPECT_FLOAT_EQ(out[0], 0.05f);
}

}  // namespace
}  // namespace quorvel
