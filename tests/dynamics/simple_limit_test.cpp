#include "dsp/dynamics/simple_limit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "dsp/dynamics/linked_gain.h"
#include "tests/support/samples.h"

namespace quorvel::dynamics {
namespace {

struct Ring {
    double hertz;
    double attackMs;
    uint32_t latency;
    uint32_t bufferSize;
};

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(SimpleLimit, LookAheadSizesTheRing) {
    for (const Ring& r :
         {Ring{44100.0, 1.0, 44, 64}, Ring{48000.0, 1.0, 48, 64}, Ring{48000.0, 0.0, 48, 64},
          Ring{48000.0, 3.0, 144, 256}, Ring{64000.0, 1.0, 64, 64}, Ring{1000.0, 1.0, 1, 1},
          Ring{999.0, 1.0, 0, 0}, Ring{0.0, 10.0, 0, 0}, Ring{-48000.0, 10.0, 0, 0},
          Ring{NAN, 10.0, 0, 0}, Ring{1000.0, 2147483648.0, 2147483648u, 2147483648u},
          Ring{1000.0, 2147483649.0, 2147483649u, 0}, Ring{48000.0, 4294967295.0, UINT32_MAX, 0},
          Ring{kInfinity, 1.0, UINT32_MAX, 0}}) {
        SimpleLimit limiter;
        limiter.SetAttack(r.attackMs);
        limiter.SetSampleRate(r.hertz);
        EXPECT_EQ(limiter.GetLatency(), r.latency) << r.hertz << " Hz, " << r.attackMs << " ms";
        EXPECT_EQ(limiter.BufferSize(), r.bufferSize) << r.hertz << " Hz, " << r.attackMs << " ms";
        EXPECT_EQ(limiter.GetAttack(), std::max(r.attackMs, 1.0));
    }
}

TEST(SimpleLimit, FreshOneLooksAheadOneMillisecondAtCdRate) {
    SimpleLimit limiter;
    EXPECT_EQ(limiter.GetLatency(), 44u);
    EXPECT_EQ(limiter.BufferSize(), 64u);
    EXPECT_EQ(limiter.GetThreshold(), 0.0);
    EXPECT_EQ(limiter.GetRelease(), 10.0);
    EXPECT_EQ(limiter.GetSampleRate(), 44100.0);
    limiter.SetRelease(0.5);
    EXPECT_EQ(limiter.GetRelease(), 1.0);
}

// Also when the ring is exactly as long as the look-ahead.
TEST(SimpleLimit, BelowTheThresholdItOnlyDelays) {
    const std::vector<float> in = test::Noise(3000, 1);
    for (const double hertz : {48000.0, 64000.0}) {
        std::vector<float> expected(3 * static_cast<std::size_t>(hertz / 1000));
        expected.insert(expected.end(), in.begin(), in.end());
        expected.resize(in.size());
        test::ExpectInPlaceOrNot(in, expected, [&](const float* from, float* to) {
            SimpleLimit limiter;
            limiter.SetSampleRate(hertz);
            limiter.SetChannelCount(3);
            ProcessLinked(limiter, from, to, 1000, 3);
        });
    }
}

std::vector<float> Limit(SimpleLimit& limiter, const std::vector<float>& in) {
    std::vector<float> out(in.size(), -99.0f);
    ProcessLinked(limiter, in.data(), out.data(), static_cast<int32_t>(in.size()), 1);
    return out;
}

// A lone peak is held while it is on its way, so the gain is down by 99 % of what it needs when the
// peak comes out; afterwards the gain comes back.
TEST(SimpleLimit, CatchesALonePeakAndLetsGo) {
    SimpleLimit limiter;
    limiter.SetSampleRate(48000.0);
    limiter.SetAttack(3.0);
    limiter.SetRelease(5.0);
    limiter.SetChannelCount(1);
    std::vector<float> in(2000, 0.5f);
    in[500] = -2.0f;
    const std::vector<float> out = Limit(limiter, in);
    constexpr std::size_t kDelay = 144;
    EXPECT_EQ(out[499], 0.5f);
    EXPECT_NEAR(out[500], 0.5 / (2.0 - std::pow(0.01, 1.0 / 144.0)), 1e-6);
    EXPECT_NEAR(out[500 + kDelay], -2.0 / 1.99, 0.02);
    EXPECT_NEAR(out[500 + kDelay - 1], 0.5 / 1.99, 1e-6);
    EXPECT_NEAR(out[500 + kDelay + 239], 0.5 / 1.0099, 1e-6);
    EXPECT_NEAR(out[1999], 0.5, 1e-6);
}

// A steady level above the threshold settles on the threshold. SetThreshold leaves the gain where
// it is: a fresh limiter starts from threshold / 1.0 and relaxes with the release.
TEST(SimpleLimit, ThresholdIsTheCeiling) {
    SimpleLimit limiter;
    limiter.SetChannelCount(1);
    limiter.SetThreshold(-6.0);
    const float threshold = static_cast<float>(std::exp(-6.0 * 0.11512925464970228));
    std::vector<float> out = Limit(limiter, std::vector<float>(20000, 0.8f));
    EXPECT_NEAR(out.back(), threshold, 1e-6);
    limiter.ResetRuntime();
    out = Limit(limiter, std::vector<float>(100, 0.25f));
    EXPECT_EQ(out[44], 0.25f);

    SimpleLimit fresh;
    fresh.SetChannelCount(1);
    fresh.SetThreshold(-6.0);
    out = Limit(fresh, std::vector<float>(20000, 0.25f));
    // Full scale was held for 44 frames; then two steps of the fresh follower's 10 ms.
    const double envelope = threshold + std::exp(-2.0 / 441.0) * (1.0 - threshold);
    EXPECT_NEAR(out[44], 0.25 * threshold / envelope, 1e-6);
    EXPECT_NEAR(out.back(), 0.25f, 1e-6);
}

// A new attack or format empties the delay lines but not the gain.
TEST(SimpleLimit, RebuildingKeepsTheGain) {
    SimpleLimit limiter;
    limiter.SetRelease(1e9);
    limiter.SetChannelCount(1);
    Limit(limiter, std::vector<float>(2000, 2.0f));
    const auto onset = [&] {
        const std::vector<float> out = Limit(limiter, std::vector<float>(200, 0.5f));
        EXPECT_EQ(out[87], 0.0f);
        return out[88];
    };
    limiter.SetAttack(2.0);
    EXPECT_NEAR(onset(), 0.25, 1e-3);
    limiter.SetChannelCount(1);
    EXPECT_NEAR(onset(), 0.25, 1e-3);
    limiter.ResetRuntime();
    EXPECT_EQ(onset(), 0.5f);
}

struct Refusal {
    const char* why;
    double hertz;
    double attackMs;
    uint32_t lines;
};

TEST(SimpleLimit, LeavesOutputUnwrittenWithoutFittingLines) {
    const std::vector<float> in = {0.5f, 0.25f}, untouched = {-99.0f, -99.0f};
    for (const Refusal& r :
         {Refusal{"no rate", 0.0, 1.0, 2}, Refusal{"no channels", 48000.0, 1.0, 0},
          Refusal{"fewer channels", 48000.0, 1.0, 1}, Refusal{"more channels", 48000.0, 1.0, 3},
          Refusal{"no ring so long", 48000.0, 4294967295.0, 2},
          Refusal{"rings beyond the bound", 48000.0, 1e6, 2},
          Refusal{"lines beyond the bound", 48000.0, 1.0, UINT32_MAX}}) {
        SimpleLimit limiter;
        limiter.SetSampleRate(r.hertz);
        limiter.SetChannelCount(r.lines);
        limiter.SetAttack(r.attackMs);
        std::vector<float> out = untouched;
        limiter.ProcessFrame(in.data(), out.data(), 2);
        EXPECT_EQ(out, untouched) << r.why;

        limiter.SetAttack(1.0);
        limiter.SetSampleRate(48000.0);
        limiter.SetChannelCount(2);
        limiter.ProcessFrame(in.data(), out.data(), 2);
        EXPECT_EQ(out, std::vector<float>(2, 0.0f)) << r.why;
    }
}

TEST(SimpleLimit, NamesAMissingDelayLine) {
    SimpleLimit limiter;
    limiter.SetChannelCount(2);
    EXPECT_EQ(limiter.DelayLine(1).size(), 64u);
    try {
        limiter.DelayLine(2);
        FAIL() << "no exception";
    } catch (const std::out_of_range& error) {
        EXPECT_EQ(error.what(), std::string("invalid vector<T> subscript"));
    }
}

}  // namespace
}  // namespace quorvel::dynamics
