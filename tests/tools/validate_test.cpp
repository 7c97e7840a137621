// `quorvel validate`: every fault at once, each with its place and what to do.
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Validate : public ToolRun {
  protected:
    // One chain's blocks and links, as JSON without their brackets.
    struct Chain {
        const char* blocks;
        const char* links;
    };

    // Each message must be told, and there must be so many.
    void ExpectFaults(const std::vector<Chain>& chains, const std::vector<std::string>& messages,
                      std::size_t count, const std::string& options = "") {
        std::string json;
        for (std::size_t i = 0; i < chains.size(); ++i) {
            json += (i ? ", " : "") + std::string("{\"number\": ") + std::to_string(i + 1) +
                    ", \"blocks\": [" + chains[i].blocks + "], \"links\": [" + chains[i].links +
                    "]}";
        }
        Write("p.json", "{\"chains\": [" + json + "]}");
        const Result told = Tool("validate p.json " + options);
        EXPECT_EQ(told.status, 1);
        for (const std::string& message : messages)
            EXPECT_NE(told.out.find(message), std::string::npos) << message << "\n" << told.out;
        EXPECT_NE(told.error.find(": " + std::to_string(count) + " fault"), std::string::npos)
            << told.error << told.out;
    }
};

TEST_F(Validate, TellsEveryFaultOfTheFile) {
    ExpectFaults(
        {{R"({"name": "a", "type": "NoBlock"},
             {"name": "b", "type": "GainBlock", "parameters": {"gainDb": "loud", "x": 1}},
             {"name": "b", "type": "LimiterBlock", "parameters": {"attackMs": -1}})",
          R"(["a", "q"], ["b"])"},
         {R"({"name": "in", "type": "GainBlock"}, {"name": "loose", "type": "GainBlock"})", ""}},
        {"$.chains[0].blocks[0].type: unknown block type \"NoBlock\"",
         "$.chains[0].blocks[1].parameters.gainDb: must be a number, -144 to 60 dB",
         "$.chains[0].blocks[1].parameters.x: unknown key",
         "$.chains[0].blocks[2].name: another block of the chain is called \"b\"",
         "$.chains[0].blocks[2].parameters.attackMs: must be in the range",
         "$.chains[0].links[0][1]: no block of the chain is called \"q\"",
         "$.chains[0].links[1]: must be a pair of blocks",
         "chain 2, block \"loose\": is not linked to any other block; link it or remove it"},
        9);
}

TEST_F(Validate, ExplainsWhatIsNoGraph) {
    ExpectFaults(
        {{R"({"name": "in", "type": "MixerBlock"}, {"name": "p", "type": "GainBlock"},
             {"name": "q", "type": "GainBlock"}, {"name": "r", "type": "GainBlock"},
             {"name": "f", "type": "GainBlock", "data": "00"})",
          R"(["in", "p"], ["p", "q"], ["q", "p"], ["in", "r"], ["r", "r"], ["q", "f"])"},
         {R"({"name": "a", "type": "GainBlock"}, {"name": "b", "type": "GainBlock"},
             {"name": "c", "type": "GainBlock"}, {"name": "d", "type": "GainBlock"})",
          R"(["a", "b"], ["c", "d"])"}},
        {"block \"f\": refuses its record of 1 bytes", "at $.chains[0].blocks[4]",
         "a cycle: \"p\" -> \"q\" -> \"p\"; remove one", "a cycle: \"r\" -> \"r\"",
         "no common beginning: \"b\" (from \"a\"), \"d\" (from \"c\"); feed them from one block",
         "at $.chains[1].links"},
        4);
}

TEST_F(Validate, FindsBlocksThatDoNothing) {
    ExpectFaults(
        {{R"({"name": "expand", "type": "StreamExpanderBlock", "parameters": {"targetChannels": 4}},
             {"name": "fold", "type": "BypassBlock", "parameters": {"outputChannelCount": 1}},
             {"name": "bank", "type": "HighPassFilterBlock",
              "data": "010000000000000000000000000000000000"})",
          R"(["expand", "fold"], ["fold", "bank"])"},
         {R"({"name": "in", "type": "MixerBlock"},
             {"name": "left", "type": "ChannelExtractorBlock"},
             {"name": "right", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 1}},
             {"name": "join", "type": "ChannelsCombinerBlock", "parameters": {"channelOffsets": [0, 4]}},
             {"name": "out", "type": "SurroundBlock"})",
          R"(["in", "left"], ["in", "right"], ["left", "join"], ["right", "join"],
             ["join", "out"])"},
         {R"({"name": "seven", "type": "StreamExpanderBlock", "parameters": {"targetChannels": 7}},
             {"name": "lost", "type": "BypassBlock"})",
          R"(["seven", "lost"])"}},
        {"with 6 channels in, block \"expand\": is asked to narrow 6 channels (FL FR FC LFE SL SR) "
         "to 4",
         "block \"bank\": band 1 has no frequency or no width: all its bands are bypassed",
         "block \"join\": leaves a channel of its 5 without an input",
         "block \"out\": does not render 5 channels",
         "block \"lost\": has no fold-down from 7 channels"},
        5, "--channels 6");
    WriteChain("high.json", R"({"name": "eq", "type": "NotchFilterBlock",
        "parameters": {"bands": [{"frequency": 5000, "width": 1}]}})");
    EXPECT_EQ(Tool("validate high.json").out, "high.json: valid\n");
    const Result slow = Tool("validate high.json --rate 8000 --channels 2");
    EXPECT_NE(slow.out.find("band 1 lies above half the sample rate"), std::string::npos);
}

TEST_F(Validate, TakesTheSampleProfiles) {
    EXPECT_EQ(Shell("for p in \"$PROFILES\"/*_*.json \"$PROFILES\"/[b-h]*.json; do "
                    "\"$QUORVEL\" encode \"$p\" -o t.txt && \"$QUORVEL\" validate \"$p\" && "
                    "\"$QUORVEL\" validate t.txt && grep -q purpose \"$p\" || exit 1; done")
                  .status,
              0);
}

}  // namespace
}  // namespace quorvel::tool
