// Watching blocks: `process --tap` and `bench`.
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Tapped : public ToolRun {
  protected:
    Tapped() { WriteSound("in.wav", Noise(5000, 2)); }
};

// What is tapped is what a chain that ends there gives, and the output keeps every bit.
TEST_F(Tapped, EveryBlockCanBeHeard) {
    const std::string gain = R"({"name": "gain", "type": "GainBlock",
                                 "parameters": {"gainDb": -12}})";
    const std::string mono = R"({"name": "mono", "type": "BypassBlock",
                                 "parameters": {"outputChannelCount": 1}})";
    const std::string gate = R"({"name": "gate", "type": "NoiseGateBlock",
                                 "parameters": {"thresholdDb": -30}})";
    WriteChain("whole.json", gain + "," + mono + "," + gate,
               R"(["gain", "mono"], ["mono", "gate"])");
    WriteChain("one.json", gain);
    WriteChain("two.json", gain + "," + mono, R"(["gain", "mono"])");
    for (const char* frames : {"480", "64", "5000"}) {
        const std::string with = std::string(" --frames ") + frames;
        ASSERT_EQ(Tool("process whole.json in.wav plain.wav" + with).status, 0);
        const Result run = Tool(
            "process whole.json in.wav out.wav --tap gain=gain.wav "
            "--tap mono=mono.wav" +
            with);
        ASSERT_EQ(run.status, 0) << run.error;
        EXPECT_EQ(Read("out.wav"), Read("plain.wav"));
        ASSERT_EQ(Tool("process one.json in.wav one.wav" + with).status, 0);
        EXPECT_EQ(Read("gain.wav"), Read("one.wav"));
        ASSERT_EQ(Tool("process two.json in.wav two.wav --channels 1" + with).status, 0);
        EXPECT_EQ(Read("mono.wav"), Read("two.wav"));
    }
    const std::string branching = "process \"$PROFILES\"/branching.json in.wav ";
    ASSERT_EQ(Tool(branching + "plain.wav").status, 0);
    ASSERT_EQ(
        Tool(branching + "out.wav --tap input=i.wav --tap sum=s.wav --tap rejoin=r.wav").status, 0);
    EXPECT_EQ(Read("out.wav"), Read("plain.wav"));
    EXPECT_EQ(ReadSound("i.wav").samples, ReadSound("in.wav").samples);
}

TEST_F(Tapped, WrongTapsAreRefusedBeforeAnythingIsWritten) {
    WriteChain("two.json", R"({"name": "gain", "type": "GainBlock"},
                              {"name": "trim", "type": "GainBlock"})",
               R"(["gain", "trim"])");
    std::filesystem::create_symlink(".", directory / "here");
    const std::set<std::string> before = Names();
    for (const char* words : {
             "out.wav --tap gate=x.wav",
             "out.wav --tap gain",
             "out.wav --tap gain=",
             "out.wav --tap gain=a.wav --tap gain=b.wav",
             "out.wav --tap gain=a.wav --tap trim=here/a.wav",
             "out.wav --tap gain=\"$PWD\"/a.wav --tap trim=a.wav",
         }) {
        EXPECT_EQ(Tool(std::string("process two.json in.wav ") + words).status, 2) << words;
        EXPECT_EQ(Names(), before) << words;
    }
}

TEST_F(Tapped, NamesAndFilesMayHaveEqualsSigns) {
    WriteChain("named.json", R"({"name": "a=b", "type": "GainBlock"},
                                {"name": "c", "type": "GainBlock"})",
               R"(["a=b", "c"])");
    ASSERT_EQ(Tool("process named.json in.wav out.wav --tap a=b=x.wav --tap c=y=z.wav").status, 0);
    EXPECT_EQ(Read("x.wav"), Read("y=z.wav"));
    EXPECT_FALSE(Read("x.wav").empty());
}

TEST_F(Tapped, BenchTellsEveryBlock) {
    const Result told = Tool("bench \"$PROFILES\"/games.json --buffers 50 --channels 6");
    ASSERT_EQ(told.status, 0) << told.error;
    for (const char* text : {"times real time", "left out: the scheduler", "whole", "equaliser",
                             "compressor", "limiter"})
        ExpectTold(told.out, text);
    // The only chain of a profile needs no number.
    EXPECT_EQ(Tool("bench \"$PROFILES\"/voice_chain.json --buffers 50").status, 0);
    EXPECT_EQ(Tool("bench \"$PROFILES\"/voice_chain.json --buffers 50 --chain 1").status, 1);
}

}  // namespace
}  // namespace quorvel::tool
