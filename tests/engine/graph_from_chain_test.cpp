// From a profile's chain to sound.
#include "engine/graph_from_chain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "blocks/compressor_block.h"
#include "blocks/filter_band.h"
#include "blocks/limiter_block.h"
#include "blocks/noise_gate_block.h"
#include "engine/block_type_ids.h"
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

// A block that is retuned while it runs makes the graph follow its new width.
TEST(GraphFromChain, NewWidthOfARunningBlockReconfiguresTheGraph) {
    struct {
        GUID kind;
        Numbers narrow;  // the first record, for an output of two channels
        Numbers other;
        int32_t otherWidth;
    } cases[] = {
        {kStreamExpanderBlockTypeId, {2, 1}, {4, 1}, 4},
        {kBypassBlockTypeId, {2, 0}, {1, 0}, 1},
        {kChannelsCombinerBlockTypeId, {1, 0}, {1, 3}, 5},  // one stereo input, moved up to 3
    };
    for (const auto& test : cases) {
        AudioGraph graph;
        graph.SetNoiseEnabled(false);
        ChainMaker maker;
        maker.Block(1, kStreamExpanderBlockTypeId, Numbers{2, 1})
            .Block(2, test.kind, test.narrow)
            .Block(3, kGainBlockTypeId, 0.0f);
        maker.Link(1, 2).Link(2, 3);
        BuildGraphFromChain(graph, maker.Chain());
        graph.SetInputFormat(1, 4, 48000);
        graph.SetOutputFormat(2, 3, 48000);
        EXPECT_EQ(graph.Nodes().size(), 3u);
        EXPECT_TRUE(graph.FindBlock(NumberedId(2))->SetParameters(&test.other));
        EXPECT_EQ(graph.FindBlock(NumberedId(3))->GetOutputChannels(), test.otherWidth);
        EXPECT_EQ(graph.Nodes().size(), 4u);  // an output adapter has joined
        EXPECT_TRUE(graph.FindBlock(NumberedId(2))->SetParameters(&test.narrow));
        EXPECT_EQ(graph.Nodes().size(), 3u);
        std::vector<float> in(480, 0.25f), out(2 * 480, 9.0f);
        graph.Process(in.data(), out.data(), 480);
        EXPECT_EQ(out, std::vector<float>(2 * 480, 0.25f));
    }
}

// The sum of several inputs is wider than what these blocks deliver.
TEST(GraphFromChain, NarrowingBlocksSumTheirInputsWithinBounds) {
    struct {
        GUID kind;
        std::array<uint32_t, 2> record;
        float left;  // of two times eight channels of 0.01
    } cases[] = {
        {kChannelExtractorBlockTypeId,
         {3, 0},
         0.02f * 0.70794576f},  // the adapter spreads the mono
        {kBypassBlockTypeId, {2, 0}, 0.0926994830f},
        {kStreamExpanderBlockTypeId, {2, 0}, 0.02f},
    };
    for (const auto& test : cases) {
        for (const bool isLast : {true, false}) {
            AudioGraph graph;
            graph.SetNoiseEnabled(false);
            graph.SetUpmixMode(2);
            ChainMaker maker;
            maker.Block(1, kGainBlockTypeId, 0.0f)
                .Block(2, kGainBlockTypeId, 0.0f)
                .Block(3, test.kind, test.record);
            maker.Link(1, 2).Link(1, 3).Link(2, 3);
            if (!isLast) maker.Block(4, kGainBlockTypeId, 0.0f).Link(3, 4);
            BuildGraphFromChain(graph, maker.Chain());
            graph.SetInputFormat(8, 0x63F, 48000);
            graph.SetOutputFormat(2, 3, 48000);
            std::vector<float> in(8 * 480, 0.01f), out(2 * 480 + 64, 9.0f);
            graph.Process(in.data(), out.data(), 480);
            EXPECT_NEAR(out[958], test.left, 1e-7f);
            EXPECT_NEAR(out[959], test.left, 1e-7f);
            EXPECT_EQ(std::ranges::count(out, 9.0f), 64);
        }
    }
}

// A block that writes nothing leaves silence or earlier audio, never what the heap held.
TEST(GraphFromChain, UnwrittenBuffersAreSilent) {
    ChainMaker maker;
    maker.Block(1, kGainBlockTypeId, 0.0f)
        .Block(2, kBypassBlockTypeId, uint32_t{2})  // has no fold-down for two unknown speakers
        .Block(3, kGainBlockTypeId, 0.0f)
        .Block(4, kMixerBlockTypeId, 0.0f);
    maker.Link(1, 2).Link(1, 3).Link(2, 4).Link(3, 4);
    const std::unique_ptr<void, void (*)(void*)> rubbish(std::malloc(1 << 16), std::free);
    std::memset(rubbish.get(), 0x7F, 1 << 16);
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    BuildGraphFromChain(graph, maker.Chain());
    graph.SetInputFormat(2, 0x30, 48000);
    graph.SetOutputFormat(2, 3, 48000);
    std::vector<float> in(960, 0.25f), out(960);
    graph.Process(in.data(), out.data(), 480);
    EXPECT_EQ(out, in);
}

}  // namespace
}  // namespace quorvel
