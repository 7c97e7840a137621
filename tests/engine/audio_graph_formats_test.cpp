// How blocks are configured, and how the chain is fitted to the output.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

#include "engine/audio_graph.h"
#include "engine/block_type_ids.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::AddProbes;
using test::MakeProbe;
using test::NumberedId;
using test::UsedBuffers;

constexpr uint32_t kMask51 = 0x60F;

// The kinds of the processing list's internal blocks: + widens, - narrows, m mixes.
std::string InternalKinds(const AudioGraph& graph) {
    std::string kinds;
    for (const GraphNode& node : graph.Nodes()) {
        if (!node.block->isInternal) continue;
        const GUID type = node.block->GetTypeId();
        kinds += type == kStreamExpanderBlockTypeId ? '+' : type == kBypassBlockTypeId ? '-' : 'm';
    }
    return kinds;
}

TEST(AudioGraphFormats, FormatRecordsAreCopiedWithTheirExtension) {
    struct {
        WAVEFORMATEX format;
        uint8_t beyond[40];
    } record{};
    std::memset(record.beyond, 0xEE, sizeof(record.beyond));
    record.format = {3, 6, 44100, 44100 * 24, 24, 32, 0};
    const AudioFormat plain = CopyFormat(record.format);
    EXPECT_EQ(+plain.Format.nChannels, 6);
    EXPECT_EQ(+plain.dwChannelMask, kMask51);  // none given: the default of six channels
    EXPECT_TRUE(plain.SubFormat == GUID{});
    record.format.cbSize = 0xFFFF;  // more than the record has room for
    const AudioFormat extended = CopyFormat(record.format);
    EXPECT_EQ(+extended.dwChannelMask, 0xEEEEEEEEu);

    const AudioFormat made = MakeFloatFormat(8, 0, 96000);
    EXPECT_EQ(+made.Format.nBlockAlign, 32);
    EXPECT_EQ(+made.Format.nAvgBytesPerSec, 96000u * 32);
    EXPECT_EQ(+made.Format.cbSize, 22);
    EXPECT_TRUE(made.SubFormat == kIeeeFloatSubFormat);
}

TEST(AudioGraphFormats, BlocksGetTheFormatOfWhatFeedsThem) {
    AudioGraph graph;
    auto probes = AddProbes(graph, 2, {{1, 2}});
    graph.SetInputFormat(6, 0, 44100);
    EXPECT_EQ(probes[0]->configurations, 0);  // no output format yet
    probes[0]->fixedWidth = 2;
    graph.SetOutputFormat(2, 0, 44100);
    EXPECT_EQ(probes[0]->Width(), 6u);
    EXPECT_EQ(probes[0]->Mask(), kMask51);
    EXPECT_EQ(probes[1]->Width(), 2u);
    EXPECT_EQ(probes[1]->Rate(), 44100u);
    const AudioFormat input = MakeFloatFormat(2, 3, 0);
    graph.SetFormats(&input.Format, &input.Format);
    EXPECT_EQ(probes[0]->Rate(), 48000u);  // a rate of 0 counts as 48 kHz
    EXPECT_EQ(probes[0]->configurations, 2);
}

TEST(AudioGraphFormats, NarrowInputsOfAMixedBlockAreWidened) {
    AudioGraph graph;
    test::SetStereo(graph);
    graph.SetUpdating(true);
    auto probes = AddProbes(graph, 4, {});
    probes[1]->fixedWidth = 1;  // mono, widened to stereo with a silent right channel
    probes[1]->scale = 10.0f;
    for (const auto& [a, b] : test::Links{{1, 2}, {1, 3}, {2, 4}, {3, 4}}) {
        graph.LinkById(NumberedId(a), NumberedId(b));
    }
    graph.SetUpdating(false);
    const GraphNode& mixing = graph.Nodes().back();
    EXPECT_EQ(mixing.mixChannels, 2);
    ASSERT_TRUE(mixing.inputs[0].adapter);
    EXPECT_FALSE(mixing.inputs[1].adapter);
    EXPECT_EQ(graph.Network().Blocks().size(), 4u);  // the adapter stands outside
    EXPECT_EQ(probes[3]->Width(), 2u);
    graph.SetNoiseEnabled(false);
    std::array<float, 6> in = {0.01f, 0.02f, 0.03f, 0.04f, 0.05f, 0.06f}, out{};
    graph.Process(in.data(), out.data(), 3);
    for (std::size_t f = 0; f < 3; ++f) {
        EXPECT_EQ(out[2 * f], in[2 * f] * 10.0f + in[2 * f]);
        EXPECT_EQ(out[2 * f + 1], in[2 * f + 1]);
    }

    probes[3]->wantsUniformInputs = false;
    graph.Reconfigure();
    EXPECT_EQ(graph.Nodes().back().mixChannels, 0);
    EXPECT_EQ(probes[3]->NarrowestInput(), 1u);
    EXPECT_EQ(probes[3]->Width(), 2u);
}

struct AdapterStep {
    uint16_t input;
    uint16_t output;
    const char* kinds;
};

struct AdapterCase {
    const char* name;
    uint32_t blocks;
    test::Links links;
    std::vector<AdapterStep> steps;
};

const std::vector<AdapterCase> kAdapterCases = {
    {"CreatedRetunedRemoved",
     1,
     {},
     {{2, 6, "+"}, {2, 8, "+"}, {2, 2, ""}, {2, 1, "-"}, {2, 2, ""}}},
    {"FollowsTheInput",
     2,
     {{1, 2}},
     {{2, 6, "+"}, {6, 6, ""}, {8, 2, "-"}, {2, 2, ""}, {1, 2, "+"}}},
    {"BehindTheMixer", 3, {{1, 2}, {1, 3}}, {{2, 2, "m"}, {2, 6, "m+"}, {2, 2, "m"}, {6, 2, "m-"}}},
    {"InvalidGraphHasOneAtMost",
     2,
     {},
     {{2, 6, "+"}, {2, 2, ""}, {6, 2, "-"}, {2, 6, "+"}, {6, 1, "-"}}},
    {"EmptyGraphKeepsItsFirst", 0, {}, {{2, 2, ""}, {2, 6, "+"}, {2, 8, "+"}, {2, 2, "+-"}}},
    // Turning round leaves the old adapter in front, which then takes the first channels only.
    {"TurnedRound", 1, {}, {{1, 2, "+"}, {8, 2, "+-"}, {8, 2, "+"}}},
};

class OutputAdapter : public testing::TestWithParam<AdapterCase> {};

TEST_P(OutputAdapter, FitsTheChainToTheOutput) {
    const AdapterCase& test = GetParam();
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    AddProbes(graph, test.blocks, test.links);
    for (const AdapterStep& step : test.steps) {
        const AudioFormat input = MakeFloatFormat(step.input, 0, 48000);
        const AudioFormat output = MakeFloatFormat(step.output, 0, 48000);
        graph.SetFormats(&input.Format, &output.Format);
        EXPECT_EQ(InternalKinds(graph), step.kinds) << step.input << " to " << step.output;
        // Nothing is written past the output, and the first channel gets through.
        std::vector<float> in(step.input * 4u, 0.125f), out(step.output * 4u + 8, 7.0f);
        graph.Process(in.data(), out.data(), 4);
        for (std::size_t i = step.output * 4u; i < out.size(); ++i)
            EXPECT_EQ(out[i], 7.0f);
        EXPECT_GT(out[0], 0.06f);
        EXPECT_LT(out[0], 1.0f);
    }
}

INSTANTIATE_TEST_SUITE_P(All, OutputAdapter, testing::ValuesIn(kAdapterCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(AudioGraphFormats, RemovedAdapterGivesItsBufferBack) {
    AudioGraph graph;
    AddProbes(graph, 1, {});
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(6, 0, 48000);
    EXPECT_EQ(UsedBuffers(graph), 1);
    EXPECT_NE(graph.OutputBlock()->GetId(), NumberedId(1));
    graph.SetOutputFormat(2, 3, 48000);
    EXPECT_EQ(UsedBuffers(graph), 0);
    EXPECT_TRUE(graph.OutputBlock()->GetId() == NumberedId(1));
    EXPECT_EQ(graph.Network().Tails().size(), 1u);
}

TEST(AudioGraphFormats, UpmixModeReachesTheAdapterAtOnce) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    AddProbes(graph, 1, {});
    graph.SetInputFormat(1, 4, 48000);
    graph.SetOutputFormat(4, 0x33, 48000);
    std::array<float, 1> in = {0.5f};
    std::array<float, 4> out{};
    for (const auto& [mode, expected] :
         {std::pair{1u, std::array{0.5f, 0.5f, 0.5f, 0.5f}},
          std::pair{2u, std::array{0.5f * 0.70794576f, 0.5f * 0.70794576f, 0.0f, 0.0f}},
          std::pair{0u, std::array{0.5f, 0.0f, 0.0f, 0.0f}}}) {
        graph.SetUpmixMode(mode);
        graph.Process(in.data(), out.data(), 1);
        EXPECT_EQ(out, expected) << mode;
    }
}

TEST(AudioGraphFormatsDeathTest, BufferThatCannotGrowEndsTheProcess) {
    AudioGraph graph;
    auto probes = AddProbes(graph, 2, {{1, 2}});
    probes[0]->fixedWidth = 1 << 30;
    EXPECT_DEATH({ test::SetStereo(graph); }, "");
}

}  // namespace
}  // namespace quorvel
