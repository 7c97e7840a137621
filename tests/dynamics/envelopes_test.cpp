#include <gtest/gtest.h>

#include <cmath>

#include "blocks/dynamics/attack_release_envelope.h"
#include "blocks/dynamics/simple_comp_rms.h"
#include "blocks/dynamics/simple_gate_rms.h"
#include "blocks/dynamics/simple_limit.h"

namespace quorvel::dynamics {
namespace {

// How much of a step from 0 to 1 is covered after `samples`.
double Covered(const EnvelopeDetector& follower, int samples) {
    double state = 0.0;
    for (int i = 0; i < samples; ++i)
        state = 1.0 + follower.Coefficient() * (state - 1.0);
    return state;
}

TEST(EnvelopeDetector, CoversSixtyThreePercentWithinItsTimeConstant) {
    for (const double hertz : {8000.0, 44100.0, 192000.0}) {
        EnvelopeDetector follower(20.0, hertz);
        EXPECT_NEAR(Covered(follower, static_cast<int>(hertz * 0.02)), 1.0 - std::exp(-1.0), 1e-9);
        follower.SetTimeConstant(100.0);
        follower.SetSampleRate(hertz / 2.0);
        EXPECT_NEAR(Covered(follower, static_cast<int>(hertz * 0.05)), 1.0 - std::exp(-1.0), 1e-9);
    }
}

TEST(EnvelopeDetector, RaisesShortTimesToOneMillisecond) {
    EnvelopeDetector follower(20.0, 48000.0);
    follower.SetTimeConstant(0.4);
    EXPECT_EQ(follower.GetTimeConstant(), 1.0);
    EXPECT_NEAR(Covered(follower, 48), 1.0 - std::exp(-1.0), 1e-9);
    follower.SetSampleRate(0.0);
    EXPECT_EQ(follower.Coefficient(), 0.0);
}

TEST(FastEnvelope, CoversNinetyNinePercentOnceItsTimeOrRateWasSet) {
    SimpleLimit::FastEnvelope follower(10.0, 48000.0);
    EXPECT_NEAR(Covered(follower, 480), 1.0 - std::exp(-1.0), 1e-9);
    follower.SetSampleRate(96000.0);
    EXPECT_NEAR(Covered(follower, 960), 0.99, 1e-9);
    follower.SetTimeConstant(5.0);
    EXPECT_NEAR(Covered(follower, 480), 0.99, 1e-9);
}

TEST(AttRelEnvelope, RisesWithAttackAndFallsWithRelease) {
    AttRelEnvelope envelope(5.0, 50.0, 1000.0);
    envelope.SetSampleRate(48000.0);
    EXPECT_EQ(envelope.GetSampleRate(), 48000.0);
    double state = 0.0;
    for (int i = 0; i < 240; ++i)
        envelope.Run(1.0, state);
    EXPECT_NEAR(state, 1.0 - std::exp(-1.0), 1e-9);
    const double top = state;
    for (int i = 0; i < 2400; ++i)
        envelope.Run(0.0, state);
    EXPECT_NEAR(state, top * std::exp(-1.0), 1e-9);
}

// At a rate of -1 Hz the attack coefficient is infinite: it would turn the tie into a NaN.
TEST(AttRelEnvelope, ATieDoesNotRise) {
    const AttRelEnvelope envelope(1.0, 1e9, -1.0);
    double state = 1.0;
    envelope.Run(1.0, state);
    EXPECT_EQ(state, 1.0);
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
        d.engine.SetAttack(0.4);
        d.engine.SetRelease(0.0);
        EXPECT_EQ(d.engine.GetAttack(), 1.0);
        EXPECT_EQ(d.engine.GetRelease(), 1.0);
    }
}

template <typename Engine>
void ExpectWindowFollowsRate() {
    struct Open : Engine {
        using Engine::averager;
        using Engine::meanOfSquares;
    } engine;
    EXPECT_EQ(engine.GetWindow(), 5.0);
    EXPECT_EQ(engine.averager.GetSampleRate(), 44100.0);
    engine.SetSampleRate(96000.0);
    engine.SetWindow(0.0);
    EXPECT_EQ(engine.GetWindow(), 1.0);
    EXPECT_EQ(engine.averager.GetSampleRate(), 96000.0);
    EXPECT_EQ(engine.GetSampleRate(), 96000.0);
    engine.meanOfSquares = 3.0;
    engine.SetEnvelope(3.0);
    static_cast<typename Engine::Base&>(engine).ResetRuntime();
    EXPECT_EQ(engine.meanOfSquares, kDcOffset);
    EXPECT_EQ(engine.Envelope(), kDcOffset);
}

struct CompRms : SimpleCompRms {
    using Base = SimpleComp;
};
struct GateRms : SimpleGateRms {
    using Base = SimpleGate;
};

TEST(DynamicsEngines, AveragersFollowRateAndReset) {
    ExpectWindowFollowsRate<CompRms>();
    ExpectWindowFollowsRate<GateRms>();
}

}  // namespace
}  // namespace quorvel::dynamics
