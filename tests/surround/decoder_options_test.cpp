// What the words of a configuration do to the decoder's outputs, also while sound goes on.
#include "dsp/surround/decoder_options.h"

#include <gtest/gtest.h>

#include "tests/surround/decoder_stage.h"

namespace quorvel {
namespace {

using namespace test;

// Shares of the total power in mode 2, of a source or (null) of a pair without one.
Powers Shares(int options, const Source* source) {
    constexpr std::size_t kSecond = 48000;
    Pairs pairs(2 * kSecond);
    Add(pairs, test::PinkNoise(48000, 6), source ? source->left : 1.0,
        source ? source->right : 0.0);
    if (!source) Add(pairs, test::PinkNoise(48000, 7), 0.0, 1.0);
    Stage stage(ModeWord(2), static_cast<uint16_t>(kNoBalance | options));
    Powers powers = PowersOf(stage.Decode(pairs), kSecond);
    const double total = Sum(powers);
    for (double& power : powers)
        power /= total;
    return powers;
}

TEST(DecoderOptions, OptionsReshapeTheField) {
    double last = 1.0;
    for (const int spread : {0, 1, 2, 3, 4, 5, 6, 7}) {
        const double centre = Shares(spread << 8 | kNeutralRear, &kMiddle)[kCentre];
        EXPECT_LE(centre, last) << spread;
        last = centre * 0.98;
    }
    EXPECT_LT(last, 1e-10);
    constexpr int kWraps = 8, kBackOnly = 2;
    EXPECT_NEAR(Decibels(Shares(kWraps | kNeutralRear, &kLeft)[kSideLeft]), -6.3, 0.5);
    EXPECT_NEAR(Decibels(Shares(kBackOnly | kNeutralRear, &kLeftSurround)[kBackLeft]), 0.0, 0.01);
    const struct {
        int value;
        double rearDb;
    } kRearShares[] = {{0, -15.5}, {7, -6.4}, {15, -3.6}};
    for (const auto& row : kRearShares) {
        const Powers shares = Shares(row.value << 4, nullptr);
        const double rear =
            shares[kBackLeft] + shares[kBackRight] + shares[kSideLeft] + shares[kSideRight];
        EXPECT_NEAR(Decibels(rear), row.rearDb, 0.5) << row.value;
    }
}

TEST(DecoderOptions, EndsTheOneRearSignalAtSevenKilohertz) {
    const auto rearDb = [](int mode, double frequency) {
        const Pairs pairs = Encode(kRear, Sine(frequency), 48000);
        const Powers powers = PowersOf(Stage(ModeWord(mode)).Decode(pairs), 24000);
        return Decibels((powers[kBackLeft] + powers[kBackRight]) / PowerOf(pairs, 24000));
    };
    EXPECT_NEAR(rearDb(0, 1000.0), 0.0, 0.5);
    EXPECT_NEAR(rearDb(0, 7000.0), -3.0, 1.0);
    EXPECT_LT(rearDb(0, 14000.0), -9.0);
    EXPECT_NEAR(rearDb(1, 14000.0), 0.0, 0.5);
}

// Brisk: a source in ambience that moves a little is out of its old place sooner.
TEST(DecoderOptions, FollowsSmallMovesFasterWhenBrisk) {
    constexpr std::size_t kMove = 48000, kEnd = kMove + 4800;
    const auto lag = [](uint16_t flags) {
        const Analytic noise = test::PinkNoise(48000, 17);
        Pairs pairs(kEnd), there(kEnd);
        for (Pairs* sound : {&pairs, &there}) {
            Add(*sound, test::PinkNoise(48000, 18), 0.6, 0.0);
            Add(*sound, test::PinkNoise(48000, 19), 0.0, 0.6);
        }
        Add(pairs, noise, kHalf, kHalf, 0, kMove);
        Add(pairs, noise, std::cos(M_PI / 5), std::sin(M_PI / 5), kMove);
        Add(there, noise, std::cos(M_PI / 5), std::sin(M_PI / 5));
        const auto word = static_cast<uint16_t>(kNoBalance | kNeutralRear | flags);
        const Frames moved = Stage(ModeWord(1), word).Decode(pairs);
        const Frames settled = Stage(ModeWord(1), word).Decode(there);
        double error = 0.0;
        for (std::size_t i = kMove; i < kEnd; ++i)
            for (std::size_t c = 0; c < 8; ++c)
                error += std::pow(double{moved[i][c]} - double{settled[i][c]}, 2.0);
        return error;
    };
    EXPECT_LT(lag(0x1000), 0.85 * lag(0));
}

// A drifted centre is found and evened out; a source that was panned is left where it is.
TEST(DecoderOptions, BalancesADriftedCentre) {
    constexpr std::size_t kSecond = 48000;
    const auto leak = [](double leftDb, uint16_t flags) {
        Pairs pairs(8 * kSecond);
        Add(pairs, test::PinkNoise(48000, 8), std::pow(10.0, leftDb / 20.0) * kHalf, kHalf);
        const Powers powers = PowersOf(Stage(ModeWord(1), flags).Decode(pairs), 7 * kSecond);
        return Decibels(1.0 - powers[kCentre] / Sum(powers));
    };
    EXPECT_LT(leak(2.0, 0), -25.0);
    EXPECT_GT(leak(2.0, kNoBalance), -15.0);
    EXPECT_NEAR(leak(-5.0, 0), leak(-5.0, kNoBalance), 0.1);
}

// A new mode and new flags are taken up as sound goes on: the matrices glide for 40 ms.
TEST(DecoderOptions, GlidesToOtherWords) {
    const Pairs pairs = Encode(kMiddle, Sine(1000.0), 24000);
    const auto wordsOf = [](int mode, int spread) {
        return std::pair(ModeWord(mode),
                         static_cast<uint16_t>(kNoBalance | kNeutralRear | spread << 8));
    };
    Stage settled(ModeWord(2));
    settled.Decode(pairs);
    for (const auto& [modeWord, flagsWord] : {wordsOf(2, 7), wordsOf(2, 3), wordsOf(0, 0)}) {
        Stage before = settled, after = settled;
        after.configuration.modeWord = modeWord;
        after.configuration.flagsWord = flagsWord;
        const Frames old = before.Decode(pairs), glide = after.Decode(pairs);
        const double goal = glide.back()[kCentre] / old.back()[kCentre];
        for (const int ms : {2, 10, 20, 30, 42, 60}) {
            double products = 0.0, squares = 0.0;  // over two periods
            for (std::size_t i = 48u * static_cast<std::size_t>(ms) - 48;
                 i < 48u * static_cast<std::size_t>(ms) + 48; ++i) {
                products += double{glide[i][kCentre]} * old[i][kCentre];
                squares += double{old[i][kCentre]} * old[i][kCentre];
            }
            const double way = std::min(ms / 40.0, 1.0), done = way * way * (3.0 - 2.0 * way);
            EXPECT_NEAR(products / squares, 1.0 + done * (goal - 1.0), 0.02) << ms << " ms";
        }
    }
}

// Another mode keeps the filters' past, also where the one rear signal begins or ends; another rate
// and other outputs start from silence.
TEST(DecoderOptions, StartsAnewForOtherRatesAndOutputs) {
    const Pairs pairs = Encode(kRear, test::PinkNoise(48000, 13), 24000);
    Stage stage(ModeWord(0));
    for (const int mode : {2, 0}) {
        stage.configuration.modeWord = ModeWord(mode);
        stage.Decode(pairs);
        const Frames there = stage.Decode(pairs), straight = Stage(ModeWord(mode)).Decode(pairs);
        for (std::size_t c = 0; c < 8; ++c)
            EXPECT_NEAR(there.back()[c], straight.back()[c], 1e-3f) << c;
    }
    stage.configuration.modeWord = ModeWord(1, 1);
    EXPECT_EQ(stage.Decode(pairs), Stage(ModeWord(1, 1)).Decode(pairs));
    for (const auto outputs : {DecoderOutputs::FrontAndSides, DecoderOutputs::FrontAndBacks}) {
        Stage fresh(ModeWord(1, 1));
        fresh.configuration.outputs = stage.configuration.outputs = outputs;
        EXPECT_EQ(stage.Decode(pairs), fresh.Decode(pairs));
    }
}

// Nothing is sent to outputs that are not played. The sides stand in for the backs.
TEST(DecoderOptions, SendsToPlayedOutputsOnly) {
    Pairs pairs = Encode(kLeftSurround, test::PinkNoise(48000, 23), 24000);
    Add(pairs, test::PinkNoise(48000, 24), 0.3, 0.8);
    for (const int mode : {0, 1, 2}) {
        Stage sides(ModeWord(mode), 0xFF8), backs(ModeWord(mode), 0xFF8);
        sides.configuration.outputs = DecoderOutputs::FrontAndSides;
        backs.configuration.outputs = DecoderOutputs::FrontAndBacks;
        const Frames toSides = sides.Decode(pairs), toBacks = backs.Decode(pairs);
        const Powers powers = PowersOf(toBacks, 12000);
        EXPECT_NEAR(Decibels(Sum(powers) / PowerOf(pairs, 12000)), 0.0, 0.1);
        EXPECT_GT(powers[kBackLeft], 0.0);
        for (std::size_t i = 0; i < toSides.size(); ++i) {
            Frame moved = toBacks[i];
            for (const Slot slot : {kCentre, kLow, kSideLeft, kSideRight})
                ASSERT_EQ(moved[slot], 0.0f);
            std::swap(moved[kSideLeft], moved[kBackLeft]);
            std::swap(moved[kSideRight], moved[kBackRight]);
            ASSERT_EQ(moved, toSides[i]);
        }
    }
}

}  // namespace
}  // namespace quorvel
