// `quorvel validate`: every fault at once, each with its place and what to do.
#include <array>

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
            ExpectTold(told.out, message);
        ExpectTold(told.error, ": " + std::to_string(count) + " fault");
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
          R"(["seven", "lost"])"},
         {R"({"name": "vast", "type": "ChannelsCombinerBlock", "data": "01000000f0ffff7f"})", ""}},
        {"with 6 channels in, block \"expand\": is asked to narrow 6 channels (FL FR FC LFE SL SR) "
         "to 4",
         "block \"bank\": band 1 has no frequency or no width: all its bands are bypassed",
         "block \"join\": leaves a channel of its 5 without an input",
         "block \"out\": does not render 5 channels",
         "block \"lost\": has no fold-down from 7 channels",
         "block \"vast\": has 2147483632 for channelOffsets: a processing object refuses the "
         "record; give at most 63"},
        6, "--channels 6");
    WriteChain("high.json", R"({"name": "eq", "type": "NotchFilterBlock",
        "parameters": {"bands": [{"frequency": 5000, "width": 1}]}})");
    EXPECT_EQ(Tool("validate high.json").out, "high.json: valid\n");
    const Result slow = Tool("validate high.json --rate 8000 --channels 2");
    ExpectTold(slow.out, "band 1 lies above half the sample rate");
}

// Gains "b1", "b2", ... behind the head "b0", and the links.
std::array<std::string, 2> Star(const std::string& head, int count) {
    std::array<std::string, 2> star = {R"({"name": "b0", )" + head + "}", ""};
    for (int i = 1; i < count; ++i) {
        const std::string name = std::string(R"("b)").append(std::to_string(i)).append(R"(")");
        star[0].append(R"(, {"type": "GainBlock", "name": )").append(name).append("}");
        star[1].append(i > 1 ? ", " : "").append(R"(["b0", )").append(name).append("]");
    }
    return star;
}

// The widths of the chains add up, each record by itself being within the limits.
TEST_F(Validate, TellsWhatAProcessingObjectRefuses) {
    std::string late = R"({"name": "late", "type": "SurroundBlock", "data": ")";
    late.append(2 * 40, '0').append("88130000").append(2 * 92, '0').append("\"}");  // 5,000 ms
    ExpectFaults({{R"({"name": "wide", "type": "StreamExpanderBlock", "data": "4000000000000000"},
                      {"name": "wider", "type": "ChannelsCombinerBlock", "data": "0100000001000000"})",
                   R"(["wide", "wider"])"},
                  {late.c_str(), ""},
                  {R"({"name": "ahead", "type": "LimiterBlock", "data":
                      "00000000e903000000000000"})",
                   ""}},
                 {"in, block \"wider\": comes out 65 channels wide; a processing object takes at "
                  "most 64",
                  "block \"late\": has 5000 for decoderParameters.outputDelaysMs: a processing "
                  "object refuses the record; give at most 1000",
                  "block \"ahead\": has 1001 for attackMs"},
                 3);
    const auto [blocks, links] = Star(R"("type": "GainBlock")", 4097);
    ExpectFaults({{blocks.c_str(), links.c_str()}},
                 {"has 4097 blocks: a processing object takes the first 4096"}, 1);
    const auto [wide, fan] =
        Star(R"("type": "StreamExpanderBlock", "data": "4000000000000000")", 257);
    ExpectFaults(
        {{wide.c_str(), fan.c_str()}},
        {"has too many channels, of all blocks together; a processing object takes at most "
         "16384"},
        1);
    std::string repeated = R"(["a", "b"])";
    for (int i = 1; i < 16385; ++i)
        repeated += R"(, ["a", "b"])";
    ExpectFaults({{R"({"name": "a", "type": "MixerBlock"}, {"name": "b", "type": "MixerBlock"})",
                   repeated.c_str()}},
                 {"has 16385 links: a processing object takes the first 16384"}, 1);
}

// Blocks of a ring "k0" -> "k1" -> ... -> "k0", and its links.
std::array<std::string, 2> Ring(int size) {
    std::array<std::string, 2> ring;
    for (int i = 0; i < size; ++i) {
        const std::string comma = i ? ", " : "";
        const std::string name = "\"k" + std::to_string(i) + "\"";
        ring[0] += comma + R"({"type": "GainBlock", "name": )" + name + "}";
        ring[1] += comma + "[" + name + ", \"k" + std::to_string((i + 1) % size) + "\"]";
    }
    return ring;
}

TEST_F(Validate, LooksAtWhatCouldBeReadOfAChain) {
    const auto [blocks, links] = Ring(12);
    const std::string odd = blocks + R"(, {"name": "loose", "type": "GainBlock"}, 5,
        {"name": "bank", "type": "NotchFilterBlock", "parameters":
         {"bands": [{"frequency": "low", "width": 1}]}},
        {"name": "far", "type": "NoBlock"}, {"type": "GainBlock"},
        {"name": "twin", "type": "GainBlock"}, {"name": "twin", "type": "GainBlock"})";
    const std::string odder = links + R"(, ["five", "bank"], ["bank", "far"], ["twin", "twin"])";
    ExpectFaults({{odd.c_str(), odder.c_str()}},
                 {"a cycle: \"k0\" -> \"k1\" -> ", "\"k10\" -> \"k11\" -> \"k0\"; remove",
                  "block \"loose\": is not linked", "at $.chains[0].blocks[12]",
                  "$.chains[0].blocks[13]: must be an object", "bands[0].frequency: must be",
                  "blocks[15].type: unknown", "blocks[16].name: is required",
                  "blocks[18].name: another block of the chain is called \"twin\""},
                 7);
    // What is missing may be what would have linked the blocks.
    for (const char* lost : {"5", R"(["p", 5])", R"(["p", "pp"])"})
        ExpectFaults({{R"({"name": "p", "type": "GainBlock"}, {"name": "q", "type": "GainBlock"})",
                       (std::string(R"(["q", "p"], )") + lost).c_str()}},
                     {"$.chains[0].links[1]"}, 1);
}

TEST_F(Validate, KnowsWhichChainOfTheFileAFaultIsIn) {
    const std::string ring = R"("blocks": [{"name": "r", "type": "GainBlock"}],
        "links": [["r", "r"]]})";
    Write("p.json", R"({"chains": [5, {"number": 3, )" + ring + R"(, {"number": 3, )" + ring +
                        ", {" + ring + "]}");
    const Result told = Tool("validate p.json");
    for (const char* message :
         {"$.chains[0]: must be an object", "$.chains[2].number: another chain has this number",
          "$.chains[3].number: is required", "chain 3, the links form", "at $.chains[1].links",
          "at $.chains[2].links", "chain without number, the links form", "at $.chains[3].links"})
        ExpectTold(told.out, message);
    ExpectTold(told.error, ": 6 faults");
}

TEST_F(Validate, TellsEveryBandAndAFaultOfSeveralWidthsOnce) {
    ExpectFaults(
        {{R"({"name": "eq", "type": "LowPassFilterBlock", "parameters": {"bands": [
              {"frequency": 30000, "width": 1}, {"frequency": 90, "width": 1},
              {"frequency": 24000, "width": 1}]}},
             {"name": "wide", "type": "StereoExpanderBlock", "parameters": {
              "lowPassBand": {"frequency": 25000, "width": 1},
              "highPassBand": {"frequency": 90, "width": 1}}},
             {"name": "raw", "type": "NotchFilterBlock",
              "data": "010000000000c842000080bf000000000000"},
             {"name": "left", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 2}})",
          R"(["eq", "wide"], ["wide", "raw"], ["raw", "left"])"}},
        {"block \"eq\": band 1 lies above half the sample rate: its filter may run away; move it "
         "below 24000 Hz",
         "band 3 lies at half the sample rate", "block \"wide\": lowPassBand lies above",
         "block \"raw\": band 1 gives a filter that is not stable",
         "chain 1 with 2, 6 and 8 channels in, block \"left\": takes channelIndex 2 (counted from "
         "0) of 2 channels (FL FR): it gives silence; give it a channelIndex of 0 to 1"},
        5);
}

TEST_F(Validate, LooksAtWhatIsCombinedAndAtTheGraphsOwnBlocks) {
    constexpr const char* kEnds =
        R"({"name": "in", "type": "MixerBlock"}, {"name": "same", "type": "GainBlock"},
           {"name": "one", "type": "ChannelExtractorBlock"})";
    ExpectFaults(
        {{R"({"name": "in", "type": "MixerBlock"}, {"name": "one", "type": "ChannelExtractorBlock"},
             {"name": "two", "type": "ChannelExtractorBlock"},
             {"name": "few", "type": "ChannelsCombinerBlock", "parameters": {"channelOffsets": [1]}},
             {"name": "same", "type": "ChannelsCombinerBlock",
              "parameters": {"channelOffsets": [0, -1, 2, 1]}},
             {"name": "sum", "type": "BypassBlock"})",
          R"(["in", "one"], ["in", "two"], ["one", "few"], ["two", "few"], ["few", "same"],
             ["two", "same"], ["one", "same"], ["few", "sum"], ["one", "sum"], ["few", "same"],
             ["in", "same"], ["same", "sum"])"},
         {kEnds, R"(["in", "one"], ["in", "same"])"}},
        {"block \"few\": has channelOffsets for 1 of its 2 inputs: at channel 0 it adds what comes "
         "from \"two\"",
         "block \"same\": adds its inputs \"few\" and \"in\", which overlap from channel 1 on",
         "block \"sum\": takes the 1 channel (FC) of \"one\" for FL of the widest input's",
         "chain 2 with 7 channels in, the sum of its ends takes the 1 channel (FC) of "
         "\"one\" for FL",
         "the sum of its ends has 7 channels"},
        6, "--channels 7");
    const Result games = Tool("validate \"$PROFILES\"/games_equaliser.json --channels 2 5 7");
    EXPECT_EQ(games.status, 1);
    for (const char* width : {"5", "7"})
        ExpectTold(games.out, std::string("with ") + width +
                                  " channels in, block \"equaliser\": "
                                  "ends the chain with " +
                                  width + " channels");
}

TEST_F(Validate, TakesTheSampleProfiles) {
    EXPECT_EQ(Shell("for p in \"$PROFILES\"/*_*.json \"$PROFILES\"/[b-h]*.json; do "
                    "\"$QUORVEL\" encode \"$p\" -o t.txt && \"$QUORVEL\" validate \"$p\" && "
                    "\"$QUORVEL\" validate t.txt && grep -q purpose \"$p\" || exit 1; done")
                  .status,
              0);
}

// Raw records may hold what is no number.
TEST_F(Validate, FindsNumbersThatAreNone) {
    WriteChain("raw.json", R"({"name": "gain", "type": "GainBlock", "data": "0000c07f"},
                              {"name": "hold", "type": "CompressorBlock",
                               "data": "000080ff0a000000640000000000007f"})",
               R"(["gain", "hold"])");
    const Result told = Tool("validate raw.json");
    EXPECT_EQ(told.status, 1);
    ExpectTold(told.out, "\"gain\": gainDb is not a finite number");
    ExpectTold(told.out, "\"hold\": thresholdDb is not");
    EXPECT_EQ(told.out.find("ratio is not"), std::string::npos) << told.out;
    const Result drawn = Tool("plot raw.json -o raw.gnuplot");
    EXPECT_EQ(drawn.status, 1);
    ExpectTold(drawn.error, "not finite");
}

}  // namespace
}  // namespace quorvel::tool
