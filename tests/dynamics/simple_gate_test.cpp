#include "blocks/dynamics/simple_gate.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvel::dynamics {
namespace {

TEST(SimpleGate, AKeyAtTheThresholdStaysOut) {
    SimpleGate gate;
    for (const double dB : {-40.0, 0.0, 12.0}) {
        gate.SetThreshold(dB);
        EXPECT_EQ(gate.GetThreshold(), dB);
        const double key = std::exp(dB * 0.11512925464970228);
        gate.ResetRuntime();
        for (int i = 0; i < 100; ++i)
            ASSERT_EQ(gate.ComputeGain(key), 0.0) << dB;
        EXPECT_GT(gate.ComputeGain(std::nextafter(key, 100.0)), 0.01) << dB;
    }
}

TEST(SimpleGate, OpensWithAttackAndClosesWithRelease) {
    SimpleGate gate;
    gate.SetSampleRate(48000.0);
    gate.SetAttack(5.0);
    gate.SetThreshold(-30.0);
    double gain = 1.0;
    for (int i = 0; i < 240; ++i)
        gain = gate.ComputeGain(0.3);
    EXPECT_NEAR(gain, 1.0 - std::exp(-1.0), 1e-9);
    for (int i = 0; i < 48000; ++i)
        gain = gate.ComputeGain(0.3);
    EXPECT_NEAR(gain, 1.0, 1e-9);
    for (int i = 0; i < 4800; ++i)
        gain = gate.ComputeGain(0.01);
    EXPECT_NEAR(gain, std::exp(-1.0), 1e-9);
    gate.ResetRuntime();
    EXPECT_EQ(gate.ComputeGain(0.01), 0.0);
}

}  // namespace
}  // namespace quorvel::dynamics
