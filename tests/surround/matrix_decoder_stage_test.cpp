// The decoder's bars: where a source comes out, how fast, and what else is heard with it.
#include "dsp/surround/matrix_decoder_stage.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/surround/decoder_stage.h"

namespace quorvel {
namespace {

using namespace test;

// A single source comes out where it belongs and nowhere else, at its own power.
TEST(MatrixDecoderStage, PutsLoneSourcesInTheirPlaces) {
    for (const int rate : {0, 1, 2, 5, 7}) {
        const auto second = static_cast<std::size_t>(kRates[rate]);
        const Analytic noise = test::PinkNoise(kRates[rate], 1);
        for (const int mode : {0, 1, 2}) {
            for (const Source& source :
                 {kLeft, kRight, kMiddle, kRear, kTurnedRear, kHalfLeft, kLeftSurround}) {
                SCOPED_TRACE(testing::Message()
                             << source.name << " at " << kRates[rate] << " Hz, mode " << mode);
                const Pairs pairs = Encode(source, noise, 2 * second);
                Powers powers = PowersOf(Stage(ModeWord(mode, rate)).Decode(pairs), second);
                const double total = Sum(powers);
                if (mode > 0) {
                    EXPECT_NEAR(Decibels(total / PowerOf(pairs, second)), 0.0, 0.1);
                }
                for (const Slot slot : mode == 0 ? source.classic : source.surround) {
                    EXPECT_GT(powers[slot], total / 20.0);
                    powers[slot] = 0.0;
                }
                EXPECT_LT(Decibels((Sum(powers) + 1e-30) / total), -60.0);
            }
        }
    }
}

// Without a direction the passive matrix shows; the power of the pair is kept all the same, also
// under a source of equal power.
TEST(MatrixDecoderStage, KeepsThePowerOfAmbience) {
    constexpr std::size_t kSecond = 48000;
    const Analytic left = test::PinkNoise(48000, 2), right = test::PinkNoise(48000, 3);
    Pairs ambience(2 * kSecond);
    Add(ambience, left, 1.0, 0.0);
    Add(ambience, right, 0.0, 1.0);
    const double power = PowerOf(ambience, kSecond);
    const Powers powers = PowersOf(Stage(ModeWord(1)).Decode(ambience), kSecond);
    EXPECT_NEAR(Decibels(Sum(powers) / power), 0.0, 0.1);
    EXPECT_NEAR(Decibels(powers[kCentre] / power), -7.0, 1.0);
    for (const Slot slot : {kBackLeft, kBackRight, kSideLeft, kSideRight})
        EXPECT_NEAR(Decibels(powers[slot] / power), -11.5, 1.0);

    for (const Source& source : {kRear, kHalfLeft, kMiddle}) {
        Pairs pairs = ambience;
        const double gain = std::sqrt(2.0);
        Add(pairs, test::PinkNoise(48000, 4), gain * source.left, gain * source.right);
        for (const int mode : {1, 2}) {
            const double total = Sum(PowersOf(Stage(ModeWord(mode)).Decode(pairs), kSecond));
            EXPECT_NEAR(Decibels(total / PowerOf(pairs, kSecond)), 0.0, 0.1) << source.name;
        }
    }
}

// When a source jumps, its old place falls silent: by 20 dB within 4 ms that begin at the bar.
// Twelve jumps in different noise are averaged.
TEST(MatrixDecoderStage, FollowsJumps) {
    constexpr std::size_t kJump = 24000, kWindow = 192;
    const struct {
        const Source &from, &to;
        std::size_t mostMs;
    } kJumps[] = {
        {kLeft, kRight, 40}, {kMiddle, kRear, 60}, {kLeft, kMiddle, 100}, {kRear, kLeft, 120}};
    for (const auto& jump : kJumps) {
        const std::size_t first = kJump + jump.mostMs * 48;
        double old = 0.0, total = 0.0;
        for (uint32_t run = 0; run < 12; ++run) {
            const Analytic noise = test::PinkNoise(48000, 10 + run);
            Pairs pairs(first + kWindow);
            Add(pairs, noise, jump.from.left, jump.from.right, 0, kJump);
            Add(pairs, noise, jump.to.left, jump.to.right, kJump);
            const Powers powers = PowersOf(Stage(ModeWord(1)).Decode(pairs), first);
            total += Sum(powers);
            for (const Slot slot : jump.from.surround)
                old += powers[slot];
        }
        EXPECT_LT(Decibels(old / total), -20.0) << jump.from.name << " to " << jump.to.name;
    }
}

// A pure tone stays pure when it is steered, and as loud as it was wherever the bands meet.
TEST(MatrixDecoderStage, KeepsTonesPure) {
    constexpr std::size_t kSecond = 48000;
    const auto measure = [](const Source& source, Slot slot, std::size_t frequency) {
        Analytic tone(kSecond);
        for (std::size_t i = 0; i < kSecond; ++i)
            tone[i] = std::polar(
                0.5, 2.0 * M_PI * static_cast<double>(i * frequency % kSecond) / kSecond);
        const Frames frames = Stage(ModeWord(1)).Decode(Encode(source, tone, 3 * kSecond));
        Complex found = 0.0;
        double power = 0.0;
        for (std::size_t i = 0; i < kSecond; ++i) {
            const double sample = frames[2 * kSecond + i][slot];
            found += sample * std::conj(tone[i]);
            power += sample * sample;
        }
        const double ofTone = 2.0 * std::norm(found) / (0.25 * kSecond);
        return std::pair{ofTone / (0.125 * kSecond), std::fabs(power - ofTone) / power};
    };
    for (const Slot slot : {kFrontLeft, kCentre})
        EXPECT_LT(Decibels(measure(kHalfLeft, slot, 1000).second), -90.0);
    for (const std::size_t frequency : {100u, 300u, 450u, 700u, 1200u, 2000u, 3000u, 4000u, 8000u})
        EXPECT_NEAR(Decibels(measure(kMiddle, kCentre, frequency).first), 0.0, 0.02) << frequency;
}

// Surrounds that a film encoder has turned come out in phase with the front, on both sides, and a
// source that passes behind the right front keeps its polarity.
TEST(MatrixDecoderStage, KeepsPolarity) {
    const Analytic noise = test::PinkNoise(48000, 14);
    const auto decode = [&](Complex left, Complex right, Slot slot) {
        Pairs pairs(noise.size());
        Add(pairs, noise, left, right);
        std::vector<float> heard;
        for (const Frame& frame : Stage(ModeWord(1)).Decode(pairs))
            heard.push_back(frame[slot]);
        return heard;
    };
    const double past = 85.0 * M_PI / 180.0;
    const std::vector<float> front = decode(kHalf, kHalf, kCentre),
                             right = decode(0.0, 1.0, kFrontRight);
    const std::pair<std::vector<float>, const std::vector<float>&> kPairs[] = {
        {decode(-kTurn * 0.8718, kTurn * 0.4899, kSideLeft), front},
        {decode(-kTurn * 0.4899, kTurn * 0.8718, kSideRight), front},
        {decode(-std::cos(past), std::sin(past), kFrontRight), right}};
    for (const auto& [heard, expected] : kPairs) {
        double a = 0.0, b = 0.0, both = 0.0;
        for (std::size_t i = 24000; i < heard.size(); ++i) {
            a += double{heard[i]} * heard[i];
            b += double{expected[i]} * expected[i];
            both += double{heard[i]} * expected[i];
        }
        EXPECT_GT(both / std::sqrt(a * b), 0.98);
    }
}

// Half way between front and side, on either hand: both alike in level, and not alike in phase.
TEST(MatrixDecoderStage, JoinsFrontAndSide) {
    constexpr std::size_t kSecond = 48000;
    const double half = -17.5 / 2.0 * M_PI / 180.0;
    const struct {
        double left, right;
        Slot front, side;
    } kHands[] = {{std::cos(half), std::sin(half), kFrontLeft, kSideLeft},
                  {std::sin(half), std::cos(half), kFrontRight, kSideRight}};
    for (const auto& hand : kHands) {
        Pairs pairs(2 * kSecond);
        Add(pairs, test::PinkNoise(48000, 5), hand.left, hand.right);
        const Frames frames = Stage(ModeWord(1)).Decode(pairs);
        double front = 0.0, side = 0.0, both = 0.0;
        for (std::size_t i = kSecond; i < frames.size(); ++i) {
            const double f = frames[i][hand.front], s = frames[i][hand.side];
            front += f * f, side += s * s, both += f * s;
        }
        EXPECT_NEAR(Decibels(front / side), 0.0, 0.5);
        EXPECT_LT(std::fabs(both) / std::sqrt(front * side), 0.3);
    }
}

// Ambience keeps its level in the rear under a centre that comes and goes.
TEST(MatrixDecoderStage, DoesNotPump) {
    constexpr std::size_t kGate = 24000, kGates = 8;
    Pairs pairs(kGates * kGate);
    Add(pairs, test::PinkNoise(48000, 20), 1.0, 0.0);
    Add(pairs, test::PinkNoise(48000, 21), 0.0, 1.0);
    const Frames without = Stage(ModeWord(1)).Decode(pairs);
    for (std::size_t gate = 1; gate < kGates; gate += 2)
        Add(pairs, test::PinkNoise(48000, 22), 4.0, 4.0, gate * kGate, (gate + 1) * kGate);
    const Frames with = Stage(ModeWord(1)).Decode(pairs);
    // Half a gate after each change.
    const auto rear = [](const Frames& frames, std::size_t odd) {
        double power = 0.0;
        for (std::size_t i = kGate / 2; i < frames.size(); ++i) {
            if (i / kGate % 2 != odd || i % kGate < kGate / 2) continue;
            for (const Slot slot : {kBackLeft, kBackRight, kSideLeft, kSideRight})
                power += double{frames[i][slot]} * frames[i][slot];
        }
        return power;
    };
    EXPECT_NEAR(Decibels(rear(with, 1) / rear(without, 1)), 0.0, 1.0);
    EXPECT_NEAR(Decibels(rear(with, 0) / rear(without, 0)), 0.0, 0.1);
}

TEST(MatrixDecoderStage, RecoversFromWhatIsNoAudio) {
    constexpr std::size_t kBad = 12000, kRecovered = kBad + 14400;
    const Pairs clean = Encode(kMiddle, test::PinkNoise(48000, 9), 48000);
    const Frames expected = Stage(ModeWord(1)).Decode(clean);
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float bad : {NAN, kInfinity, -kInfinity, 1e35f}) {
        Pairs pairs = clean;
        for (std::size_t i = kBad; i < kBad + 10; ++i)
            pairs[i][i % 2] = bad;
        const Frames frames = Stage(ModeWord(1)).Decode(pairs);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const float tolerance = i < kBad || i >= kRecovered ? 1e-4f : 2.0f;
            for (std::size_t c = 0; c < 8; ++c)
                ASSERT_NEAR(frames[i][c], expected[i][c], tolerance) << i;
        }
    }
}

// How the frames are divided changes nothing, and silence stays and becomes silence.
TEST(MatrixDecoderStage, DependsOnTheFramesAlone) {
    Pairs pairs = Encode(kLeftSurround, test::PinkNoise(48000, 11), 24000);
    Add(pairs, test::PinkNoise(48000, 12), 1.0, -0.3);
    for (const int mode : {0, 1, 2}) {
        const uint16_t word = ModeWord(mode);
        EXPECT_EQ(Stage(word).Decode(pairs, 480), Stage(word).Decode(pairs, 7));
        EXPECT_EQ(Stage(word).Decode(Pairs(1000)), Frames(1000));
        Pairs burst = pairs;
        burst.resize(48000);
        EXPECT_EQ(Stage(word).Decode(burst).back(), Frame{});
    }
}

TEST(MatrixDecoderStage, RefusesWhatItCannotCarryOut) {
    Stage stage(ModeWord(1));
    Frames frames(4, Frame{1, 2, 3, 4, 5, 6, 7, 8});
    const Frames same = frames;
    for (const int32_t command : {7, -1, 1, 11})
        EXPECT_FALSE(stage.Run(command, frames, 0, 4));
    EXPECT_TRUE(stage.Run(kDecoderProcess, frames, 0, 0));
    EXPECT_TRUE(stage.Run(kDecoderProcess, frames, 0, 40000));  // negative in 16 bits
    EXPECT_TRUE(stage.Run(kDecoderInitialise, frames, 0, 4));
    EXPECT_FALSE(RunMatrixDecoder(kDecoderProcess, nullptr));
    stage.configuration.channels[3] = nullptr;
    EXPECT_FALSE(RunMatrixDecoder(kDecoderProcess, &stage.configuration));
    stage.configuration.state = nullptr;
    EXPECT_FALSE(stage.Run(kDecoderInitialise, frames, 0, 4));
    EXPECT_EQ(frames, same);
}

}  // namespace
}  // namespace quorvel
