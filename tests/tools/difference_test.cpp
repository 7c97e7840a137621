// Comparing: `diff` of two profiles, `nulltest` of two sounds or of what two profiles make of one.
#include <cmath>
#include <limits>

#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Difference : public ToolRun {
  protected:
    void WriteGain(const std::string& name, const char* gainDb) const {
        WriteChain(name, std::string(R"({"name": "gain", "type": "GainBlock",
                                         "parameters": {"gainDb": )") +
                             gainDb + "}}");
    }

    // Noise of 1 s, `delay` frames late.
    void WriteDelayed(const std::string& name, std::size_t delay, float factor = 1.0f) const {
        Sound sound = Noise(48000, 2);
        for (float& sample : sound.samples)
            sample *= factor;
        sound.samples.insert(sound.samples.begin(), delay * 2, 0.0f);
        sound.samples.resize(96000);
        WriteSound(name, sound);
    }
};

TEST_F(Difference, OfProfilesIsToldFieldByField) {
    const std::string filter = R"({"name": "eq", "type": "PeakingEQFilterBlock", "parameters":
        {"bands": [{"frequency": 1000, "width": 1, "widthMode": "Q", "gainDb": )";
    const std::string gate = R"({"name": "gate", "type": "NoiseGateBlock",
                                 "parameters": {"thresholdDb": -50}})";
    WriteChain("a.json", filter + "3}]}}, " + gate, R"(["eq", "gate"])");
    WriteChain("b.json",
               filter +
                   R"(-3}, {"frequency": 60, "width": 1, "widthMode": "Q", "gainDb": 1}]}},
                      {"name": "gain", "type": "GainBlock", "parameters": {"gainDb": -6}})",
               R"(["eq", "gain"])");
    const Result run = Tool("diff a.json b.json");
    EXPECT_EQ(run.status, 1);
    for (const char* text :
         {"chain 1, gate: removed\n", "chain 1, eq: bands 1 gainDb -3.0 dB, was 3.0 dB\n",
          "chain 1, eq: bands 2 frequency 60.0 Hz added\n", "chain 1, gain: added, GainBlock\n",
          "link eq -> gate: removed\n", "link eq -> gain: added\n",
          "input 2, at most -12.00 dB at 1000 Hz"})
        ExpectTold(run.out, text);
}

// The order of a combiner's inputs is that of its links; what the two channels do may look alike
// from outside. A look-ahead is a delay.
TEST_F(Difference, OfProfilesIsFoundWhereLevelsAreAlike) {
    const std::string blocks = R"({"name": "in", "type": "MixerBlock"},
        {"name": "left", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 0}},
        {"name": "right", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 1}},
        {"name": "pair", "type": "ChannelsCombinerBlock", "parameters":
         {"channelOffsets": [0, 1]}})";
    const std::string heads = R"(["in", "left"], ["in", "right"], )";
    WriteChain("a.json", blocks, heads + R"(["left", "pair"], ["right", "pair"])");
    WriteChain("b.json", blocks, heads + R"(["right", "pair"], ["left", "pair"])");
    Result run = Tool("diff a.json b.json");
    EXPECT_EQ(run.status, 1);
    ExpectTold(run.out, "pair: its inputs have another order: right, left");
    ExpectTold(run.out, "input 1, at most");

    WriteGain("a.json", "0");
    WriteChain("b.json", R"({"name": "gain", "type": "GainBlock", "data": "0000c07f"})");
    run = Tool("diff a.json b.json");
    ExpectTold(run.out, "gain: a record of 4 bytes, was gainDb 0.0 dB\n");
    ExpectTold(run.out, "not measured: what comes out at 20 Hz is not finite");

    const std::string limiter = R"({"name": "limiter", "type": "LimiterBlock", "parameters":
        {"thresholdDb": -1, "releaseMs": 60, "attackMs": )";
    WriteChain("a.json", limiter + "2}}");
    WriteChain("b.json", limiter + "5}}");
    run = Tool("diff a.json b.json");
    ExpectTold(run.out, "latency 240 frames, was 96");
    WriteSound("in.wav", Noise(48000, 2));
    EXPECT_EQ(Tool("nulltest a.json b.json --input in.wav").status, 0);
}

// The text form has other names and no purpose; it says the same.
TEST_F(Difference, IsNoneBetweenTheFormsOfAProfile) {
    for (const char* name : {"games", "voice_chain", "film_surround", "branching"}) {
        const std::string json = std::string("\"$PROFILES\"/") + name + ".json";
        ASSERT_EQ(Tool("encode " + json + " -o form.txt").status, 0);
        const Result run = Tool("diff " + json + " form.txt");
        EXPECT_EQ(run.status, 0) << run.out;
        EXPECT_EQ(run.out, "equal\n");
    }
}

TEST_F(Difference, OfSoundsIsFoundBehindTheirDelay) {
    WriteDelayed("a.wav", 0);
    WriteDelayed("b.wav", 441);
    Result run = Tool("nulltest a.wav b.wav");
    EXPECT_EQ(run.status, 0) << run.error;
    ExpectTold(run.out, "the second 441 frames (9.188 ms) later");
    ExpectTold(run.out, "no difference");
    run = Tool("nulltest b.wav a.wav");
    ExpectTold(run.out, "the second -441 frames");

    WriteDelayed("b.wav", 100, -1.0f);
    run = Tool("nulltest a.wav b.wav");
    EXPECT_EQ(run.status, 1);
    ExpectTold(run.out, "the second 100 frames");
    ExpectTold(run.out, "channel 1 residual peak    -0.00 dB, rms    -4.7");
}

TEST_F(Difference, OfSoundsIsPlaced) {
    Sound sound = Noise(48000, 2);
    WriteSound("a.wav", sound);
    sound.samples[2 * 1000] += 0.001f;
    sound.samples[2 * 20000 + 1] += 0.1f;
    WriteSound("b.wav", sound);
    const Result run = Tool("nulltest a.wav b.wav --tolerance -30");
    EXPECT_EQ(run.status, 1);
    for (const char* text : {"channel 1 residual peak   -60.0", "channel 2 residual peak   -20.0",
                             "in frame 1000", "10 ms from frame 19536 (0.407 s)"})
        ExpectTold(run.out, text);
    EXPECT_EQ(Tool("nulltest a.wav b.wav --tolerance -19").status, 0);

    EXPECT_EQ(Tool("nulltest a.wav b.wav --chain 2").status, 2) << "without --input";
    for (const char* wrong : {"nan", "-nan", "x"})
        EXPECT_EQ(Tool(std::string("nulltest a.wav b.wav --tolerance ") + wrong).status, 2);

    sound.samples.resize(40000);
    WriteSound("b.wav", sound);
    EXPECT_EQ(Tool("nulltest a.wav b.wav --tolerance 0").status, 1) << "shorter";
    WriteSound("b.wav", Noise(48000, 1));
    EXPECT_EQ(Tool("nulltest a.wav b.wav").status, 1) << "narrower";
}

// A sound that grows, channels that cancel each other, and what is missing at the end.
TEST_F(Difference, OfSoundsIsAlignedByTheirShape) {
    Sound sound{2, std::vector<float>(96000)};
    for (std::size_t f = 0; f < 48000; ++f) {
        const double time = static_cast<double>(f) / 48000.0;
        const double wave = time * std::sin(2.0 * M_PI * 60.0 * time) + (f == 20000 ? 0.5 : 0.0);
        sound.samples[2 * f] = static_cast<float>(wave);
        sound.samples[2 * f + 1] = -sound.samples[2 * f];
    }
    WriteSound("a.wav", sound);
    Result run = Tool("nulltest a.wav a.wav");
    EXPECT_EQ(run.status, 0) << run.out;
    ExpectTold(run.out, "the second 0 frames");
    sound.samples.insert(sound.samples.begin(), 2 * 37, 0.0f);
    sound.samples.resize(96000);
    WriteSound("b.wav", sound);
    run = Tool("nulltest a.wav b.wav");
    EXPECT_EQ(run.status, 0) << run.out;
    ExpectTold(run.out, "the second 37 frames");
    sound.samples.resize(60000);
    WriteSound("b.wav", sound);
    run = Tool("nulltest a.wav b.wav");
    EXPECT_EQ(run.status, 1);
    ExpectTold(run.error, "the second has 30000 frames, the first 48000");
    ExpectTold(run.out, "frames of the first have no partner");
    WriteSound("none.wav", {2, {}});
    EXPECT_EQ(Tool("nulltest none.wav none.wav").status, 1);
}

TEST_F(Difference, OfWhatProfilesMakeOfASound) {
    WriteSound("in.wav", Noise(48000, 2));
    WriteGain("a.json", "-6");
    WriteGain("b.json", "-6.1");
    for (const char* same : {"a.json a.json",
                             "\"$PROFILES\"/music_widened.json "
                             "\"$PROFILES\"/music_widened.json"})
        EXPECT_EQ(Tool(std::string("nulltest --input in.wav ") + same).status, 0) << same;
    const Result run = Tool("nulltest a.json b.json --input in.wav");
    EXPECT_EQ(run.status, 1);
    ExpectTold(run.out, "channel 1 residual peak   -50.85 dB");
    EXPECT_EQ(Tool("nulltest a.json b.json --input in.wav --tolerance -50").status, 0);
}

}  // namespace
}  // namespace quorvel::tool
