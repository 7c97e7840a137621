// `quorvel process`, by running the built program on files.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/decibels.h"
#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Process : public ToolRun {
  protected:
    // The output of a run on `sound`.
    Sound Run(const Sound& sound, const std::string& profile, const std::string& options = "") {
        WriteSound("in.wav", sound);
        last = Tool("process " + profile + " in.wav out.wav " + options);
        EXPECT_EQ(last.status, 0) << last.error;
        return ReadSound("out.wav");
    }

    using ToolRun::ExpectTold;
    void ExpectTold(const std::string& text) const { ExpectTold(last.out, text); }

    Process() { WriteChain("gain.json", R"({"name": "gain", "type": "GainBlock"})"); }

    Result last{};
};

// Input within the output limiter's reach is only scaled, frame for frame, whatever its length.
TEST_F(Process, ScalesEveryFrameAndNoMore) {
    WriteChain("quiet.json",
               R"({"name": "gain", "type": "GainBlock", "parameters": {"gainDb": -6}})");
    const float gain = DbToLinear(-6.0f);
    for (const std::size_t frames : {0u, 1u, 479u, 480u, 481u, 65280u, 65281u, 70000u}) {
        const Sound in = Noise(frames, 2);
        const Sound out = Run(in, "quiet.json");
        ASSERT_EQ(out.samples.size(), in.samples.size());
        for (std::size_t i = 0; i < in.samples.size(); ++i)
            ASSERT_EQ(out.samples[i], in.samples[i] * gain) << "of " << frames << " at " << i;
        ExpectTold("frames   " + std::to_string(frames) + " ");
    }
}

TEST_F(Process, GivesTheSameSamplesAtEveryBlockSize) {
    const Sound in = Noise(20001, 2, 1.5f);
    for (const char* profile : {"games.json", "night_mode.json", "branching.json"}) {
        const std::string path = std::string("\"$PROFILES\"/") + profile;
        const Sound expected = Run(in, path);
        for (const char* frames : {"1", "64", "4096", "65536"}) {
            EXPECT_EQ(Run(in, path, std::string("--frames ") + frames).samples, expected.samples)
                << profile << " by " << frames;
        }
    }
}

TEST_F(Process, GivesTheSameBytesFromRunToRun) {
    const Sound in = Noise(9600, 2);
    const std::array options = {"", "--noise", "--noise --seed 7", "--channels 8"};
    std::set<std::string> results;
    for (const char* option : options) {
        Run(in, "\"$PROFILES\"/games.json", option);
        const std::string first = Read("out.wav");
        std::filesystem::last_write_time(directory / "in.wav", {});
        Run(in, "\"$PROFILES\"/games.json", option);
        EXPECT_EQ(Read("out.wav"), first) << option;
        results.insert(first);
    }
    EXPECT_EQ(results.size(), options.size());
}

// A faint centre goes on to be heard until the front pair has been alone for the hold time.
TEST_F(Process, NarrowsAfterTheHold) {
    Sound in{6, std::vector<float>(6 * 9600)};
    for (std::size_t f = 0; f < 9600; ++f) {
        in.samples[6 * f] = 0.1f;
        in.samples[6 * f + 2] = f < 480 ? 0.1f : 0.00005f;
    }
    const auto heard = [&](const std::string& options) {
        const Sound out = Run(in, "gain.json", options);
        std::size_t frames = 0;
        while (frames < 9600 && out.samples[2 * frames + 1] != 0.0f)
            ++frames;
        return frames;
    };
    EXPECT_EQ(heard(""), 9600u);
    EXPECT_EQ(heard("--hold-ms 50"), 480u + 480u + 4 * 480u);  // the fifth buffer of the count
}

TEST_F(Process, ReplacesWhatIsNoAudio) {
    Sound clean = Noise(9600, 2);
    Sound dirty = clean;
    const float bad[] = {std::nanf(""), std::numeric_limits<float>::infinity(), -INFINITY, 3e38f};
    for (std::size_t i = 0; i < 4; ++i) {
        dirty.samples[1000 + i] = bad[i];
        clean.samples[1000 + i] = 0.0f;
    }
    const Sound expected = Run(clean, "\"$PROFILES\"/games.json");
    const std::string peaks = last.out.substr(last.out.find("peak"), 30);
    EXPECT_EQ(Run(dirty, "\"$PROFILES\"/games.json").samples, expected.samples);
    ExpectTold(last.error, "4 samples of the input are not finite");
    EXPECT_EQ(last.out.substr(last.out.find("peak"), 30), peaks);
}

// An overflow costs one buffer, whether or not somebody listens to the block that it stays in.
TEST_F(Process, FailsWhereWhatComesOutIsNotFinite) {
    WriteChain("endless.json", R"({"name": "gain", "type": "GainBlock", "data": "00003e44"},
                                  {"name": "limiter", "type": "LimiterBlock"})",
               R"(["gain", "limiter"])");  // 760 dB
    Sound in{2, std::vector<float>(2 * 9600)};
    in.samples[2 * 5000 + 1] = 100.0f;
    std::fill_n(in.samples.begin() + 2 * 6000, 2 * 3600, 0.001f);
    WriteSound("in.wav", in);
    for (const char* const words :
         {"process endless.json in.wav out.wav", "host endless.json in.wav out.wav",
          "host endless.json in.wav out.wav --stage endpoint",
          "nulltest endless.json endless.json --input in.wav",
          "process endless.json in.wav out.wav --tap limiter=tap.wav"}) {
        const Result result = Tool(words);
        EXPECT_EQ(result.status, 1) << words;
        ExpectTold(result.error,
                   ": gave 560 samples that are not finite, the first at 0.104 s "
                   "in channel FL; every such buffer became silence");
    }
    const Sound out = ReadSound("out.wav");
    EXPECT_EQ(out.samples[2 * 5000 + 1], 0.0f);
    EXPECT_GT(out.samples[2 * 9000], 0.0f);
    EXPECT_TRUE(std::ranges::all_of(out.samples, [](float x) { return std::isfinite(x); }));
}

TEST_F(Process, NamesTheChannelThatIsNotFinite) {
    WriteChain("right.json",
               R"({"name": "in", "type": "MixerBlock"},
                  {"name": "l", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 0}},
                  {"name": "r", "type": "ChannelExtractorBlock", "parameters": {"channelIndex": 1}},
                  {"name": "bad", "type": "GainBlock", "data": "0000c07f"},
                  {"name": "out", "type": "ChannelsCombinerBlock",
                   "parameters": {"channelOffsets": [0, 1]}})",
               R"(["in", "l"], ["in", "r"], ["r", "bad"], ["l", "out"], ["bad", "out"])");
    WriteSound("in.wav", Noise(480, 2));
    const Result result = Tool("process right.json in.wav out.wav");
    ExpectTold(result.error,
               "gave 480 samples that are not finite, the first at 0.000 s in "
               "channel FR");
}

TEST_F(Process, TellsTheChannelsThatCarrySignal) {
    Sound in{2, std::vector<float>(2 * 48000)};
    for (std::size_t f = 0; f < 48000; ++f) {
        in.samples[2 * f] = f < 9600 ? 0.25f : 0.0f;
        in.samples[2 * f + 1] = (f >= 4800 && f < 9600) || f >= 24000 ? 0.25f : 0.0f;
    }
    const Sound out = Run(in, "gain.json");
    ExpectTold(
        "active       0.000 s  FL\n"
        "active       0.100 s  FL FR\n"
        "active       0.200 s  none\n"
        "active       0.500 s  FR\n"
        "frames");
    ExpectTold("peak     in -12.04 dB, out -12.04 dB");
    EXPECT_EQ(out.samples, in.samples);
}

// The fold-down goes by the speakers: the same four channels, once as the file's map says and once
// as their number says.
TEST_F(Process, HonoursTheChannelMap) {
    WriteChain("fold.json", R"({"name": "fold", "type": "BypassBlock"})");
    Sound in{4, std::vector<float>(4 * 480, 0.0f)};
    for (std::size_t f = 0; f < 480; ++f)
        in.samples[4 * f + 2] = 0.25f;
    const float plain = Run(in, "fold.json").samples[0];
    ExpectTold("4 channels (FL FR BL BR)");
    in.format = SF_FORMAT_WAVEX | SF_FORMAT_FLOAT;
    in.map = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER,
              SF_CHANNEL_MAP_REAR_CENTER};
    const float mapped = Run(in, "fold.json").samples[0];
    ExpectTold("4 channels (FL FR FC BC)");
    EXPECT_EQ(plain, 0.25f);
    EXPECT_EQ(mapped, 0.25f * 0.70794576f);
}

// Wide output carries its speaker mask: bytes 40 to 43 of an extensible WAV file.
TEST_F(Process, WritesTheSpeakerMask) {
    const Sound out = Run(Noise(480, 2), "gain.json", "--channels 6");
    EXPECT_EQ(out.channels, 6);
    EXPECT_EQ(out.format & SF_FORMAT_TYPEMASK, SF_FORMAT_WAVEX);
    std::uint32_t mask = 0;
    std::memcpy(&mask, Read("out.wav").data() + 40, sizeof(mask));
    EXPECT_EQ(mask, 0x60Fu);
    EXPECT_EQ(Read("out.wav").find("PEAK"), std::string::npos);
}

TEST_F(Process, ReadsCompressedFilesAndOtherChains) {
    Sound in = Noise(4800, 1, 0.25f);
    in.format = SF_FORMAT_FLAC | SF_FORMAT_PCM_24;
    in.rate = 44100;
    const Sound out = Run(in, "\"$PROFILES\"/voice_chain.json", "--chain 2 --channels 1");
    EXPECT_EQ(out.channels, 1);
    EXPECT_EQ(out.rate, 44100);
    EXPECT_EQ(out.samples.size(), in.samples.size());
}

// The text form and the JSON file of a profile sound alike; encode and decode agree.
TEST_F(Process, TakesEitherFormOfAProfile) {
    const std::string games = "\"$PROFILES\"/games.json";
    ASSERT_EQ(Tool("encode " + games + " -o games.txt").status, 0);
    ASSERT_EQ(Tool("decode games.txt -o again.json").status, 0);
    EXPECT_EQ(Tool("encode again.json").out, Read("games.txt"));
    const Sound in = Noise(9600, 2);
    const Sound expected = Run(in, games);
    EXPECT_EQ(Run(in, "games.txt").samples, expected.samples);
    EXPECT_EQ(Run(in, "again.json").samples, expected.samples);
}

}  // namespace
}  // namespace quorvel::tool
