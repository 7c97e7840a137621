#include <gtest/gtest.h>

#include <cmath>

#include "dsp/dynamics/attack_release_envelope.h"
#include "dsp/dynamics/simple_limit.h"

namespace quorvel::dynamics {
namespace {

const double kOneTimeConstant = 1.0 - std::exp(-1.0);

// How much of a step from 0 to 1 is covered after `samples`.
double Covered(const EnvelopeDetector& follower, double samples) {
    double state = 0.0;
    for (int i = 0; i < static_cast<int>(samples); ++i)
        state = 1.0 + follower.Coefficient() * (state - 1.0);
    return state;
}

TEST(EnvelopeDetector, CoversSixtyThreePercentWithinItsTimeConstant) {
    for (const double hertz : {8000.0, 44100.0, 192000.0}) {
        EnvelopeDetector follower(20.0, hertz);
        EXPECT_NEAR(Covered(follower, hertz * 0.02), kOneTimeConstant, 1e-9);
        follower.SetTimeConstant(100.0);
        follower.SetSampleRate(hertz / 2.0);
        EXPECT_NEAR(Covered(follower, hertz * 0.05), kOneTimeConstant, 1e-9);
    }
    EnvelopeDetector follower(20.0, 48000.0);
    follower.SetTimeConstant(0.4);
    EXPECT_EQ(follower.GetTimeConstant(), 1.0);
    EXPECT_NEAR(Covered(follower, 48), kOneTimeConstant, 1e-9);
    follower.SetSampleRate(0.0);
    EXPECT_EQ(follower.Coefficient(), 0.0);
}

TEST(FastEnvelope, CoversNinetyNinePercentOnceItsTimeOrRateWasSet) {
    SimpleLimit::FastEnvelope follower(10.0, 48000.0);
    EXPECT_NEAR(Covered(follower, 480), kOneTimeConstant, 1e-9);
    follower.SetSampleRate(96000.0);
    EXPECT_NEAR(Covered(follower, 960), 0.99, 1e-9);
    follower.SetTimeConstant(5.0);
    EXPECT_NEAR(Covered(follower, 480), 0.99, 1e-9);
}

// At a rate of -1 Hz the attack coefficient is infinite: it would turn the tie into a NaN.
TEST(AttRelEnvelope, ATieDoesNotRise) {
    const AttRelEnvelope envelope(1.0, 1e9, -1.0);
    double state = 1.0;
    envelope.Run(1.0, state);
    EXPECT_EQ(state, 1.0);
}

}  // namespace
}  // namespace quorvel::dynamics
