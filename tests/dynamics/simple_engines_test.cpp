// The compressor's and the gate's gains and defaults.
#include <gtest/gtest.h>

#include <cmath>

#include "base/math/exponential.h"
#include "dsp/dynamics/simple_comp_rms.h"
#include "dsp/dynamics/simple_gate_rms.h"

namespace quorvel::dynamics {
namespace {

// The gain after `samples` with that key.
template <typename Engine>
double GainAfter(Engine& engine, int samples, double key) {
    double gain = -1.0;
    for (int i = 0; i < samples; ++i)
        gain = engine.ComputeGain(key);
    return gain;
}

double DecibelsAfter(SimpleComp& compressor, int samples, double levelDb) {
    return LinearToDecibels(GainAfter(compressor, samples, DecibelsToLinear(levelDb)));
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
          Curve{-6.0, 2.0, 0.0, 6.0}, Curve{-6.0, -3.0, 0.0, 0.0}, Curve{-6.0, 0.0, 0.0, 0.0}}) {
        SimpleComp compressor;
        compressor.SetThreshold(c.thresholdDb);
        compressor.SetRatio(0.5);
        compressor.SetRatio(c.ratio);
        EXPECT_EQ(compressor.GetRatio(), c.ratio > 0.0 ? c.ratio : 1.0);
        EXPECT_NEAR(DecibelsAfter(compressor, 400000, c.levelDb), c.gainDb, 1e-6)
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
    const double deepest = DecibelsAfter(compressor, 240, 0.0);
    EXPECT_NEAR(deepest, -10.0 * (1.0 - std::exp(-1.0)), 1e-9);
    EXPECT_NEAR(DecibelsAfter(compressor, 4800, -999.0), deepest * std::exp(-1.0), 1e-9);
    compressor.ResetRuntime();
    EXPECT_EQ(compressor.ComputeGain(0.0), 1.0);
}

TEST(SimpleGate, AKeyAtTheThresholdStaysOut) {
    SimpleGate gate;
    for (const double dB : {-40.0, 0.0, 12.0}) {
        gate.SetThreshold(dB);
        EXPECT_EQ(gate.GetThreshold(), dB);
        const double key = math::Exp(dB * 0.11512925464970228);
        gate.ResetRuntime();
        EXPECT_EQ(GainAfter(gate, 100, key), 0.0) << dB;
        EXPECT_GT(gate.ComputeGain(std::nextafter(key, 100.0)), 0.01) << dB;
    }
}

TEST(SimpleGate, OpensWithAttackAndClosesWithRelease) {
    SimpleGate gate;
    gate.SetSampleRate(48000.0);
    gate.SetAttack(5.0);
    gate.SetThreshold(-30.0);
    EXPECT_NEAR(GainAfter(gate, 240, 0.3), 1.0 - std::exp(-1.0), 1e-9);
    EXPECT_NEAR(GainAfter(gate, 48000, 0.3), 1.0, 1e-9);
    EXPECT_NEAR(GainAfter(gate, 4800, 0.01), std::exp(-1.0), 1e-9);
    gate.ResetRuntime();
    EXPECT_EQ(gate.ComputeGain(0.01), 0.0);
}

struct Defaults {
    AttRelEnvelope& engine;
    double attackMs;
    double releaseMs;
};

TEST(DynamicsEngines, StartWithTheirTimesAtCdRate) {
    SimpleComp comp;
    SimpleCompRms compRms;
    SimpleGate gate;
    SimpleGateRms gateRms;
    for (const Defaults& d : {Defaults{comp, 10.0, 100.0}, Defaults{compRms, 10.0, 100.0},
                              Defaults{gate, 1.0, 100.0}, Defaults{gateRms, 1.0, 100.0}}) {
        EXPECT_EQ(d.engine.GetAttack(), d.attackMs);
        EXPECT_EQ(d.engine.GetRelease(), d.releaseMs);
        EXPECT_EQ(d.engine.GetSampleRate(), 44100.0);
        d.engine.SetRelease(0.0);
        EXPECT_EQ(d.engine.GetAttack(), d.attackMs);
        EXPECT_EQ(d.engine.GetRelease(), 1.0);
    }
    EXPECT_EQ(comp.GetRatio(), 1.0);
    EXPECT_EQ(comp.GetThreshold(), 0.0);
    EXPECT_EQ(compRms.GetWindow(), 5.0);
    EXPECT_EQ(gateRms.GetWindow(), 5.0);
}

}  // namespace
}  // namespace quorvel::dynamics
