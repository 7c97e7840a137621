#include "dsp/surround/pair_balance.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorvel {
namespace {

constexpr float kRangeDb = 3.0f;
constexpr float kTickSeconds = 1.0f / 3000.0f;

void Follow(PairBalance& balance, float x, float y, double seconds, bool isOn = true) {
    BandSteering middle;
    middle.covariance[0] = middle.covariance[1] = 0.01f;
    middle.x = x;
    middle.y = y;
    for (int tick = 0; tick < static_cast<int>(seconds * 3000.0); ++tick)
        balance.Follow(middle, kRangeDb, isOn, kTickSeconds);
}

double GainsDb(const PairBalance& balance) {
    return 20.0 * std::log10(balance.leftGain / balance.rightGain);
}

// A centre that is louder on the left is turned to the right by 0.35 dB a second, as far as the
// range goes; one that is off by less than a dB more slowly.
TEST(PairBalance, FollowsAtItsSpeedWithinItsRange) {
    for (const float side : {1.0f, -1.0f}) {
        PairBalance balance;
        Follow(balance, 0.3f * side, 0.9f, 1.0);
        EXPECT_NEAR(balance.difference, -0.35f * side, 0.01f);
        EXPECT_NEAR(GainsDb(balance), -0.35 * side, 0.01);
        EXPECT_NEAR(balance.leftGain * balance.rightGain, 1.0f, 1e-6f);
        Follow(balance, 0.3f * side, 0.9f, 30.0);
        EXPECT_EQ(balance.difference, -kRangeDb * side);
        Follow(balance, 0.3f * side, 0.9f, 2.0, false);
        EXPECT_NEAR(balance.difference, -(kRangeDb - 0.7f) * side, 0.01f);
        Follow(balance, 0.3f * side, 0.9f, 60.0, false);
        EXPECT_EQ(balance.difference, 0.0f);
        EXPECT_EQ(balance.leftGain, 1.0f);
    }
    PairBalance slow;
    Follow(slow, 0.05f, 0.9f, 1.0);
    EXPECT_NEAR(slow.difference, -0.35f * 8.69f * 0.05f, 0.01f);
}

// Nothing moves for a source that is panned by more than 3 dB, or for what is no centre.
TEST(PairBalance, LeavesPannedSourcesAlone) {
    for (const auto& [x, y] : {std::pair(0.35f, 0.9f), {-0.35f, 0.9f}, {0.3f, 0.69f}}) {
        PairBalance balance;
        Follow(balance, x, y, 1.0);
        EXPECT_EQ(balance.difference, 0.0f) << x << ", " << y;
    }
    PairBalance balance;
    BandSteering quiet;
    quiet.covariance[0] = 0.9e-6f;
    quiet.x = 0.3f, quiet.y = 0.9f;
    balance.Follow(quiet, kRangeDb, true, 1.0f);
    EXPECT_EQ(balance.difference, 0.0f);
}

}  // namespace
}  // namespace quorvel
