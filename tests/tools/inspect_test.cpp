// `quorvel inspect`: a profile in words.
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

using Inspect = ToolRun;

TEST_F(Inspect, TellsTheChainInTheOrderInWhichItRuns) {
    const Result told = Tool("inspect \"$PROFILES\"/branching.json --channels 2");
    ASSERT_EQ(told.status, 0) << told.error;
    ExpectInOrder(
        told.out,
        {"An example of branches", "JSON, packed 1482 bytes",
         "chain 1, the headset's: 11 blocks, 12 links", "in   2 channels (FL FR), 48000 Hz",
         "2. left, ChannelExtractorBlock\n         channelIndex 0\n       -> 1 channel (FC)",
         "bands 1: frequency 180.0 Hz, width 1.0, widthMode ShelfSlope, gainDb 4.0 dB",
         "6. rejoin, ChannelsCombinerBlock, from warm left, bright right", "thresholdDb -0.5 dB",
         "out  2 channels (FL FR), what is above full scale compressed 10 : 1 after 1 ms",
         "latency 48 frames (1.000 ms)"});
}

TEST_F(Inspect, TellsWidthsOfTheInputAndWhatTheGraphMakes) {
    WriteChain("p.json", R"({"name": "mono", "type": "BypassBlock",
                             "parameters": {"outputChannelCount": 1}},
                            {"name": "raw", "type": "{00112233-4455-6677-8899-AABBCCDDEEFF}"})");
    const Result six = Tool("inspect p.json --channels 6");
    ExpectTold(six.out, "fault: block \"raw\": unknown kind");
    WriteChain("q.json", R"({"name": "mono", "type": "BypassBlock",
                             "parameters": {"outputChannelCount": 1}})");
    const Result told = Tool("inspect q.json --channels 6");
    ExpectTold(told.out, "in   6 channels (FL FR FC LFE SL SR)");
    ExpectTold(told.out, "2. StreamExpanderBlock, made by the graph\n       -> 2 channels");
}

// A cycle makes no graph, and names do not steer the terminal.
TEST_F(Inspect, TellsWhatIsNoGraph) {
    WriteChain(
        "cycle.json",
        R"({"name": "a\u001b[2J\n", "type": "MixerBlock"}, {"name": "b", "type": "MixerBlock"})",
        R"(["a\u001b[2J\n", "b"], ["b", "a\u001b[2J\n"])");
    const Result told = Tool("inspect cycle.json");
    EXPECT_EQ(told.status, 1);
    ExpectTold(told.out, "no graph can be made");
    EXPECT_EQ(told.out.find('\x1b'), std::string::npos);
    const Result six = Tool("inspect \"$PROFILES\"/branching.json --channels 6");
    ExpectTold(six.out, "input from rejoin widened to 6 channels by the graph");
}

}  // namespace
}  // namespace quorvel::tool
