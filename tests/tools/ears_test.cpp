// `quorvel ears` on a sound whose differences are known, and on the sample profile for games.
#include <cmath>

#include "tests/tools/tool_run.h"

namespace quorvel::tool {
namespace {

class Ears : public ToolRun {
  protected:
    // The numbers of a speaker's line: seconds, decibels, microseconds.
    static std::vector<double> Line(const std::string& told, const std::string& speaker) {
        std::istringstream lines(told);
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(speaker + " ", 0) != 0) continue;
            std::vector<double> numbers(3);
            std::sscanf(line.c_str() + 20, "%lf s %lf dB %lf us", &numbers[0], &numbers[1],
                        &numbers[2]);
            return numbers;
        }
        return {};
    }

    // One second of noise on each channel, one after the other.
    static Sound InTurn(int channels) {
        const std::size_t width = static_cast<std::size_t>(channels);
        Sound sound = Noise(48000 * width, channels, 0.3f);
        for (std::size_t i = 0; i < sound.samples.size(); ++i)
            if (i / (48000 * width) != i % width) sound.samples[i] = 0.0f;
        return sound;
    }
};

TEST_F(Ears, MeasuresLevelAndTime) {
    const Sound in = InTurn(2);
    Sound out{2, std::vector<float>(in.samples.size())};
    for (std::size_t f = 20; f < 48000; ++f) {
        out.samples[2 * f] = in.samples[2 * f];
        out.samples[2 * f + 1] = 0.5f * in.samples[2 * (f - 20)];
    }
    WriteSound("in.wav", in);
    WriteSound("out.wav", out);
    const Result told = Tool("ears in.wav out.wav");
    ASSERT_EQ(told.status, 0) << told.error;
    const auto left = Line(told.out, "FL");
    ASSERT_EQ(left.size(), 3u) << told.out;
    EXPECT_NEAR(left[0], 1.0, 0.02);
    EXPECT_NEAR(left[1], 6.0, 0.1);
    EXPECT_NEAR(left[2], 20.0 / 48000.0 * 1e6, 3.0);
    ExpectTold(told.out, "FR       30 right   never");
    EXPECT_EQ(Tool("ears out.wav missing.wav").status, 3);
    WriteSound("wide.wav", InTurn(3));
    EXPECT_EQ(Tool("ears in.wav wide.wav").status, 1);
}

// The profile for games puts every speaker where it stands.
TEST_F(Ears, HearTheSpeakersOfGames) {
    WriteSound("in.wav", InTurn(8));
    ASSERT_EQ(Tool("process \"$PROFILES\"/games_7_1.json in.wav out.wav").status, 0);
    const Result told = Tool("ears in.wav out.wav");
    const struct {
        const char *left, *right;
        double leastUs, mostUs, leastDb;
    } kPairs[] = {{"FL", "FR", 260, 400, 2}, {"SL", "SR", 620, 780, 2}, {"BL", "BR", 220, 420, 1}};
    for (const auto& pair : kPairs) {
        const auto left = Line(told.out, pair.left), right = Line(told.out, pair.right);
        ASSERT_EQ(left.size() + right.size(), 6u) << told.out;
        EXPECT_TRUE(left[2] > pair.leastUs && left[2] < pair.mostUs) << told.out;
        EXPECT_NEAR(right[2], -left[2], 25.0);
        EXPECT_GT(left[1], pair.leastDb);
        EXPECT_NEAR(right[1], -left[1], 0.5);
    }
    EXPECT_EQ(Line(told.out, "FC")[2], 0.0);
}

}  // namespace
}  // namespace quorvel::tool
