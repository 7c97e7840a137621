#include "blocks/dynamics/simple_comp.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvel::dynamics {
namespace {

double SettledGainDb(SimpleComp& compressor, double levelDb) {
    const double key = DecibelsToLinear(levelDb);
    double gain = 0.0;
    for (int i = 0; i < 400000; ++i)
        gain = compressor.ComputeGain(key);
    return LinearToDecibels(gain);
}

struct Curve {
    double thresholdDb;
    double ratio;
    double levelDb;
    double gainDb;
};

// The static curve: nothing up to the threshold, (ratio - 1) dB per dB above it.
TEST(SimpleComp, SettlesOnItsCurve) {
    for (const Curve& c :
         {Curve{-20.0, 0.25, 0.0, -15.0}, Curve{-20.0, 0.25, -10.0, -7.5},
          Curve{-20.0, 0.25, -19.0, -0.75}, Curve{-20.0, 0.25, -20.5, 0.0},
          Curve{-20.0, 0.25, -60.0, 0.0}, Curve{0.0, 0.1, 10.0, -9.0}, Curve{-6.0, 1.0, 0.0, 0.0},
          Curve{-6.0, 2.0, 0.0, 6.0}, Curve{-6.0, -3.0, 0.0, 0.0}}) {
        SimpleComp compressor;
        compressor.SetThreshold(c.thresholdDb);
        compressor.SetRatio(c.ratio);
        EXPECT_NEAR(SettledGainDb(compressor, c.levelDb), c.gainDb, 1e-6)
            << c.thresholdDb << " dB, ratio " << c.ratio << " at " << c.levelDb;
    }
}

// The gain in dB, not the level, covers 63 % within each time constant.
TEST(SimpleComp, FollowsInDecibels) {
    SimpleComp compressor;
    compressor.SetSampleRate(48000.0);
    compressor.SetThreshold(-20.0);
    compressor.SetRatio(0.5);
    compressor.SetAttack(5.0);
    double gain = 1.0;
    for (int i = 0; i < 240; ++i)
        gain = compressor.ComputeGain(1.0);
    EXPECT_NEAR(LinearToDecibels(gain), -10.0 * (1.0 - std::exp(-1.0)), 1e-9);
    const double deepest = LinearToDecibels(gain);
    for (int i = 0; i < 4800; ++i)
        gain = compressor.ComputeGain(0.0);
    EXPECT_NEAR(LinearToDecibels(gain), deepest * std::exp(-1.0), 1e-9);
    compressor.ResetRuntime();
    EXPECT_EQ(compressor.ComputeGain(0.0), 1.0);
}

TEST(SimpleComp, RatioOfZeroOrLessIsNone) {
    SimpleComp compressor;
    EXPECT_EQ(compressor.GetRatio(), 1.0);
    EXPECT_EQ(compressor.GetThreshold(), 0.0);
    compressor.SetRatio(0.3);
    EXPECT_EQ(compressor.GetRatio(), 0.3);
    for (const double ratio : {0.0, -0.0, -2.0}) {
        compressor.SetRatio(ratio);
        EXPECT_EQ(compressor.GetRatio(), 1.0);
    }
}

}  // namespace
}  // namespace quorvel::dynamics
