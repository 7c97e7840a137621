// The renderer's bars: what a listener's ears must and must not hear.
#include "dsp/surround/stereo_renderer_stage.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

#include "dsp/surround/head_renderer.h"
#include "tests/support/ear_measures.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using test::At;
using test::Decibels;
using test::EarResponse;
using test::ThirdOctavePower;

constexpr float kSixDb = 1.9952623f;  // what the caller adds
constexpr int32_t kLength = 4096;

// A stage of its own, its memory aligned for floats and no more.
struct Stage {
    Stage(int32_t channels, int32_t rate)
        : state{channels, StereoRendererRateCode(rate), memory.data() + 4, rate} {}

    std::vector<float> Render(const std::vector<float>& in, int32_t frames) {
        std::vector<float> out(2 * static_cast<std::size_t>(frames));
        RenderStereo(state, in.data(), out.data(), frames);
        return out;
    }

    std::vector<std::byte> memory = std::vector<std::byte>(kStereoRendererMemory + 4);
    StereoRendererState state;
};

// The ears' responses to one impulse in several channels.
EarResponse Measure(const std::vector<float>& amplitudes, int32_t rate = 48000) {
    std::vector<float> in = amplitudes;
    const int32_t length = rate > 96000 ? 4 * kLength : kLength;
    in.resize(static_cast<std::size_t>(length) * amplitudes.size());
    const auto out = Stage(static_cast<int32_t>(amplitudes.size()), rate).Render(in, length);
    EarResponse ears{static_cast<double>(rate)};
    for (std::size_t i = 0; i < out.size(); i += 2) {
        ears.left.push_back(out[i] * kSixDb);
        ears.right.push_back(out[i + 1] * kSixDb);
    }
    return ears;
}

// One channel of n.
EarResponse MeasureOne(std::size_t channels, std::size_t channel, int32_t rate = 48000) {
    std::vector<float> amplitudes(channels);
    amplitudes[channel] = 1.0f;
    return Measure(amplitudes, rate);
}

// A dummy head's differences of time and level between the ears.
TEST(StereoRendererStage, EarsDifferByDirection) {
    const struct {
        std::size_t channels, channel;
        double leastUs, mostUs, levelsDb[3];
    } kDirections[] = {{7, 0, 260, 400, {4.0, 9.6, 13.3}},
                       {7, 3, 620, 780, {5.8, 7.9, 22.0}},
                       {5, 3, 570, 740, {4.7, 12.9, 21.2}},
                       {7, 5, 220, 380, {4.0, 6.1, 4.0}}};
    for (const auto& direction : kDirections) {
        const auto ears = MeasureOne(direction.channels, direction.channel);
        const double us = test::TimeDifferenceUs(ears, 150.0, 1500.0);
        EXPECT_TRUE(us >= direction.leastUs && us <= direction.mostUs)
            << us << " us, channel " << direction.channel;
        for (const int i : {0, 1, 2}) {
            const double frequency = 500.0 * (1 << (2 * i));
            const double ratio = ThirdOctavePower(ears.left, frequency, 48000.0) /
                                 ThirdOctavePower(ears.right, frequency, 48000.0);
            EXPECT_NEAR(Decibels(ratio), direction.levelsDb[i], 1.0)
                << frequency << " Hz, channel " << direction.channel;
        }
    }
}

// A left channel, alone and with an equal right one, keeps its colour within ±2.5 dB, and one front
// channel is nowhere raised by more than 3 dB in an ear. A centre has no colour at all.
TEST(StereoRendererStage, FrontIsNotColoured) {
    for (const float right : {0.0f, 1.0f}) {
        const auto ears = Measure({1.0f, right});
        std::vector<double> levels;
        for (double f = 78.75; f < 12700.0; f *= std::exp2(1.0 / 3.0))
            levels.push_back(Decibels(ThirdOctavePower(ears.left, f, 48000.0) +
                                      ThirdOctavePower(ears.right, f, 48000.0)));
        const double mean =
            std::accumulate(levels.begin(), levels.end(), 0.0) / static_cast<double>(levels.size());
        for (const double level : levels)
            EXPECT_NEAR(level, mean, 2.5);
    }
    const auto left = MeasureOne(7, 0), centre = MeasureOne(7, 1);
    for (double f = 50.0; f <= 20000.0; f *= 1.02) {
        EXPECT_LE(Decibels(std::norm(At(left.left, f, 48000.0))), 3.0) << f;
        EXPECT_NEAR(Decibels(std::norm(At(centre.left, f, 48000.0))), -3.0103, 0.01) << f;
    }
}

// Every channel is about as loud as in a fold-down: the front at 0 dB, what surrounds at -3 dB.
TEST(StereoRendererStage, ChannelsAreAsLoudAsInAFoldDown) {
    for (std::size_t channels = 1; channels <= 7; ++channels) {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const double expectedDb = channel < 3 ? 0.0 : -3.0;
            EXPECT_NEAR(test::LoudnessDb(MeasureOne(channels, channel)), expectedDb, 1.2)
                << channel << " of " << channels;
        }
    }
}

// Near ears and, of the channels on the right, far ears.
TEST(StereoRendererStage, EveryRateSoundsLike48000) {
    for (const std::size_t channel : {0u, 2u, 3u, 4u, 5u, 6u}) {
        const auto reference = MeasureOne(7, channel).left;
        for (const int32_t rate :
             {44100, 32000, 96000, 88200, 22050, 64000, 176400, 192000, 384000}) {
            const auto ear = MeasureOne(7, channel, rate).left;
            for (double f = 100.0; f < 5040.0; f *= std::exp2(1.0 / 3.0)) {
                const double ratio =
                    ThirdOctavePower(ear, f, rate) / ThirdOctavePower(reference, f, 48000.0);
                EXPECT_NEAR(Decibels(ratio), 0.0, 1.5)
                    << rate << " Hz, channel " << channel << " at " << f;
            }
        }
    }
}

// The far ear hears a side source as much later at every rate, with a code or without.
TEST(StereoRendererStage, EarsAreAsFarApartAtEveryRate) {
    for (const int32_t rate : {3000, 8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 64000,
                               88200, 96000, 176400, 192000, 352800, 384000}) {
        const double highest = std::min(1500.0, 0.4 * rate);
        EXPECT_NEAR(test::TimeDifferenceUs(MeasureOne(7, 3, rate), 150.0, highest), 700.0, 50.0)
            << rate;
    }
    // What an object can lock at, and what it cannot: nothing is out of bounds, silence ends it.
    const auto noise = test::Noise(7 * 2000, 12);
    auto in = noise;
    in.resize(7 * 100000);
    for (const int32_t rate :
         {INT32_MIN, -1, 1, 10, 100, 1000, 102400, 204800, 384000, 768000, INT32_MAX}) {
        const auto out = Stage(7, rate).Render(in, 100000);
        for (const float sample : out)
            ASSERT_LT(std::fabs(sample), 100.0f) << rate;
        EXPECT_EQ(out.back(), 0.0f) << rate;
    }
    EXPECT_EQ(Stage(7, 768000).Render(in, 4000), Stage(7, 384000).Render(in, 4000));
}

// Mirrored input gives mirrored output, and a division into calls leaves the bits alone, also while
// the sound fades.
TEST(StereoRendererStage, MirrorsAndDivisionsLeaveTheBits) {
    constexpr const char* kMirrored[] = {"0", "10", "210", "2103", "21043", "210435", "2104365"};
    for (int32_t channels = 1; channels <= 7; ++channels) {
        auto in = test::Noise(1000 * static_cast<std::size_t>(channels), 5);
        in.resize(4 * in.size());
        std::vector<float> mirrored;
        for (std::size_t i = 0; i < in.size(); ++i) {
            const std::size_t c = i % static_cast<std::size_t>(channels);
            mirrored.push_back(
                in[i - c + static_cast<std::size_t>(kMirrored[channels - 1][c] - '0')]);
        }
        Stage whole(channels, 44100), turned(channels, 44100), divided(channels, 44100);
        const auto out = whole.Render(in, 4000);
        auto swapped = turned.Render(mirrored, 4000);
        for (std::size_t i = 0; i < swapped.size(); i += 2)
            std::swap(swapped[i], swapped[i + 1]);
        test::ExpectSameBits(swapped, out);

        std::vector<float> pieces(out.size());
        for (int32_t f = 0; f < 4000; f += 7) {
            RenderStereo(divided.state, &in[static_cast<std::size_t>(f * channels)],
                         &pieces[static_cast<std::size_t>(2 * f)], std::min(7, 4000 - f));
        }
        test::ExpectSameBits(pieces, out);
    }
}

// A fraction of a frame is a fraction of a turn, from no lag at all up to the longest.
TEST(FarEarDelay, DelaysByItsLag) {
    for (const double lag : {0.0, 0.3, 1.0, 1.7, 11.8, 59.25, 236.6, 250.0}) {
        FarEarDelay delay;
        delay.SetLag(lag);
        std::vector<float> response;
        for (int i = 0; i < 260; ++i) {
            const float* past = delay.Push(i == 0 ? 1.0f : 0.0f);
            response.push_back(past[0] * delay.taps[0] + past[1] * delay.taps[1] +
                               past[2] * delay.taps[2] + past[3] * delay.taps[3]);
        }
        const auto expected = std::polar(1.0, -2.0 * std::numbers::pi * 2000.0 / 48000.0 * lag);
        EXPECT_LT(std::abs(At(response, 2000.0, 48000.0) - expected), 2e-4) << lag;
    }
}

// The lanes follow the plain definition, also where both sources of a pair stand on one side, in
// front or behind, or one is missing; lags are the longest there are.
TEST(HeadRenderer, LanesGiveTheBitsOfThePlainDefinition) {
    constexpr SoundSource kSources[] = {{7, 90}, {0, 75}, {1, -2}, {5, -178}, {2, 0}, {3, 180}};
    auto in = test::RandomSamples(8 * 5000, 3);
    in.resize(8 * 9000);
    HeadRenderer lanes, plain;
    std::vector<float> out(2 * 9000), expected(out);
    lanes.Place(kSources, 8, 384000.0);
    plain.Place(kSources, 8, 384000.0);
    lanes.Render(in.data(), out.data(), 9000);
    plain.RenderPlain(in.data(), expected.data(), 9000);
    test::ExpectSameBits(out, expected);
    EXPECT_TRUE(std::ranges::all_of(out, [](float x) { return std::fabs(x) < 100.0f; }));
}

// Whatever comes in, 20 ms later the output is what it would have been; after half a second of
// silence it is exactly zero.
TEST(StereoRendererStage, RecoversFromBadSamplesAndFallsSilent) {
    constexpr float kBad[] = {NAN, std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(), 1e35f};
    auto in = test::Noise(7 * 4800, 9);
    in.resize(7 * 28800);
    auto bad = in;
    for (std::size_t i = 0; i < 7 * 48; ++i)
        bad[7 * 480 + i] = kBad[i % 4];
    const auto good = Stage(7, 48000).Render(in, 28800), out = Stage(7, 48000).Render(bad, 28800);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const bool isOver = i > 2 * (480 + 48 + 960);
        ASSERT_NEAR(out[i], good[i], isOver ? 1e-4f : 100.0f) << i;
    }
    EXPECT_TRUE(out[out.size() - 2] == 0.0f && out.back() == 0.0f);
}

TEST(StereoRendererStage, SetsItselfUpAnewAndRefusesWhatItCannotRender) {
    Stage stage(5, 48000);
    const auto in = test::Noise(7 * 100, 2);
    stage.Render(in, 100);
    for (const auto& [channels, rate] : {std::pair(7, 48000), {7, 96000}}) {
        stage.state.inputChannels = channels;
        stage.state.rateCode = StereoRendererRateCode(rate);
        stage.state.sampleRate = rate;
        test::ExpectSameBits(stage.Render(in, 100), Stage(channels, rate).Render(in, 100));
    }
    std::vector<float> out(3, test::kUntouched);
    RenderStereo(stage.state, in.data(), out.data(), 0);
    RenderStereo(stage.state, in.data(), out.data(), -1);
    EXPECT_EQ(out, std::vector<float>(3, test::kUntouched));
    for (const int32_t channels : {0, 8, -1}) {
        stage.state.inputChannels = channels;
        out.assign(3, test::kUntouched);
        RenderStereo(stage.state, in.data(), out.data(), 1);
        EXPECT_EQ(out, (std::vector<float>{0.0f, 0.0f, test::kUntouched}));
    }
}

}  // namespace
}  // namespace quorvel
