// The fast runners against the plain definition, bit for bit: samples and envelopes.
#include "dsp/dynamics/linked_gain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dsp/dynamics/simple_comp.h"
#include "dsp/dynamics/simple_gate.h"
#include "dsp/dynamics/simple_limit.h"
#include "engine/output_limiter.h"
#include "tests/support/forced_kernels.h"
#include "tests/support/same_bits.h"

namespace quorvel::dynamics {
namespace {

using test::ExpectSameBits;
using test::SameBits;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// A chance that is the same on every system.
class Chance {
  public:
    explicit Chance(uint32_t seed) : random(seed) {}

    int32_t Below(int32_t end) {
        return static_cast<int32_t>(random() % static_cast<uint32_t>(end));
    }
    float Sample(float peak) {
        return peak * (static_cast<float>(random() % 2000001) / 1000000.0f - 1.0f);
    }
    template <typename Value>
    Value OneOf(const std::vector<Value>& values) {
        return values[static_cast<std::size_t>(Below(static_cast<int32_t>(values.size())))];
    }

  private:
    std::mt19937 random;
};

float NearThreshold(Chance& chance, float threshold) {
    float x = threshold;
    for (int steps = chance.Below(4); steps > 0; --steps)
        x = std::nextafter(x, chance.Below(2) == 0 ? 0.0f : 100.0f);
    return chance.Below(2) == 0 ? x : -x;
}

// One block of samples: silence, quiet or loud noise, very small numbers, a lively mixture, noise
// with what is no number in it, or noise a few steps around the threshold.
std::vector<float> Block(Chance& chance, std::size_t size, double thresholdDb) {
    constexpr std::size_t kLively = 5, kNotFinite = 6, kNearThreshold = 7;
    const auto threshold =
        static_cast<float>(std::clamp(DecibelsToLinear(thresholdDb), 1e-6, 10.0));
    const float peaks[] = {0.0f,
                           threshold * 0.9f,
                           threshold * 8.0f,
                           1e-38f,
                           threshold * 5e-21f,
                           threshold * 0.9f,
                           threshold,
                           0.0f};
    const auto kind = static_cast<std::size_t>(chance.Below(8));
    std::vector<float> samples(size);
    for (float& x : samples) {
        x = chance.Sample(peaks[kind]);
        if (kind == kLively && chance.Below(40) == 0) x = chance.Sample(threshold * 3.0f);
        if (kind == kNotFinite && chance.Below(60) == 0) x = NAN;
        if (kind == kNotFinite && chance.Below(3000) == 0) x = HUGE_VALF;
        if (kind == kNearThreshold) x = NearThreshold(chance, threshold);
    }
    return samples;
}

const std::vector<double> kThresholdsDb = {-20.0,   -20.0, -6.0,      0.0,       0.1,
                                           -96.0,   6.0,   900.0,     7000.0,    -600.0,
                                           -9000.0, NAN,   kInfinity, -kInfinity};
const std::vector<double> kRatios = {0.25, 0.1, 0.5, 1.0, 2.0, -1.0, 1e30, NAN, kInfinity};
const std::vector<double> kTimesMs = {0.0, 1.0, 1.0, 5.0, 60.0, 4294967295.0};
const std::vector<double> kRates = {48000.0, 48000.0, 44100.0, 8000.0, 0.0, -1.0, -48000.0};

void Configure(SimpleComp& compressor, Chance& chance) {
    compressor.SetRatio(chance.OneOf(kRatios));
}
void Configure(SimpleGate&, Chance&) {}

// Look-aheads from less than a sample to longer than a block, lines for the width and, seldom, not.
void Configure(SimpleLimit& limiter, Chance& chance, int32_t channels) {
    limiter.SetSampleRate(chance.OneOf<double>({48000.0, 96000.0, 64000.0, 3000.0, 4100.0, 500.0}));
    limiter.SetAttack(chance.OneOf<double>({1.0, 1.0, 1.3, 5.0, 60.0}));
    limiter.SetChannelCount(static_cast<uint32_t>(chance.Below(20) == 0 ? channels + 1 : channels));
}
template <typename Engine>
void Configure(Engine& engine, Chance& chance, int32_t) {
    Configure(engine, chance);
}

// One block through both, the fast runner in place or not.
template <typename Engine>
void Compare(Engine& fast, Engine& plain, const std::vector<float>& in, int32_t frames,
             int32_t channels, bool inPlace) {
    std::vector<float> expected = in, out = in;  // where the limiter refuses, nothing is written
    ProcessLinkedPlain(plain, in.data(), expected.data(), frames, channels);
    ProcessLinked(fast, inPlace ? out.data() : in.data(), out.data(), frames, channels);
    ExpectSameBits(out, expected);
    ASSERT_TRUE(SameBits(fast.Envelope(), plain.Envelope()));
}

template <typename Engine>
void CompareOneSetting(uint32_t seed) {
    Chance chance(seed);
    Engine fast;
    const double thresholdDb = chance.OneOf(kThresholdsDb);
    fast.SetThreshold(thresholdDb);
    fast.SetAttack(chance.OneOf(kTimesMs));
    fast.SetRelease(chance.OneOf(kTimesMs));
    fast.SetSampleRate(chance.OneOf(kRates));
    const int32_t channels = chance.Below(10);
    Configure(fast, chance, channels);
    Engine plain = fast;
    for (int block = 0; block < 25; ++block) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", block " << block);
        const int32_t frames = chance.Below(5) == 0 ? chance.Below(4097) : 1 + chance.Below(300);
        const auto in = Block(chance, static_cast<std::size_t>(frames * channels), thresholdDb);
        Compare(fast, plain, in, frames, channels, chance.Below(2) == 0);
    }
}

// Every kernel in turn.
class LinkedGain : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!test::ForceKernels(GetParam())) GTEST_SKIP() << "not on this processor";
    }
    void TearDown() override { test::ForceKernels("fastest"); }
};

TEST_P(LinkedGain, FastRunnersHaveTheBitsOfTheirDefinition) {
    for (uint32_t seed = 0; seed < 200 && !HasFailure(); ++seed) {
        CompareOneSetting<SimpleComp>(seed);
        CompareOneSetting<SimpleGate>(seed);
        CompareOneSetting<SimpleLimit>(seed);
    }
}

// After a burst and silence an envelope comes to rest above where it began, and the runners take
// other ways there: identity for a compressor, results below the normal floats for a gate.
template <typename Engine>
void CompareAfterBurst(double releaseMs, double thresholdDb) {
    Engine fast;
    fast.SetThreshold(thresholdDb);
    fast.SetRelease(releaseMs);
    std::vector<float> samples(480, 0.9f);
    ProcessLinked(fast, samples.data(), samples.data(), 480, 1);
    const double start = fast.Envelope();
    for (int i = 0; i < 44100 * static_cast<int>(releaseMs) / 10; ++i)
        fast.ComputeGain(0.0);
    double next = fast.Envelope();
    fast.Run(kDcOffset, next);
    ASSERT_EQ(next, fast.Envelope()) << "not at rest";
    ASSERT_LT(next, start);
    Engine plain = fast;
    Chance chance(static_cast<uint32_t>(releaseMs));
    const auto peak = static_cast<float>(DecibelsToLinear(thresholdDb)) * 0.9f;
    for (const int32_t channels : {1, 2, 3, 8}) {
        std::vector<float> in(static_cast<std::size_t>(1001 * channels));
        std::ranges::generate(in, [&] { return chance.Sample(peak); });
        Compare(fast, plain, in, 1001, channels, channels != 2);
    }
}

TEST(LinkedAtRest, StalledEnvelopesHaveTheBitsOfTheirDefinition) {
    for (const double releaseMs : {1.0, 10.0, 100.0, 300.0}) {
        CompareAfterBurst<SimpleComp>(releaseMs, -20.0);
        CompareAfterBurst<SimpleGate>(releaseMs, -20.0);
        CompareAfterBurst<SimpleGate>(releaseMs, -1.0);
    }
}

INSTANTIATE_TEST_SUITE_P(All, LinkedGain, testing::Values("fours", "eights"),
                         [](const auto& kernels) { return std::string(kernels.param); });

double Decibels(float sample) {
    return LinearToDecibels(static_cast<double>(sample));
}

// 10 dB over full scale settle at 1 dB over it, after the onset has passed unharmed.
TEST(OutputLimiter, LetsATenthOfTheDecibelsThrough) {
    for (const double hertz : {44100.0, 96000.0}) {
        OutputLimiter limiter;
        limiter.SetSampleRate(hertz);
        const auto second = static_cast<int32_t>(hertz);
        std::vector<float> samples(static_cast<std::size_t>(second) * 2,
                                   static_cast<float>(DecibelsToLinear(10.0)));
        const auto left = [&](int32_t frame) {
            return Decibels(samples[static_cast<std::size_t>(frame) * 2]);
        };
        limiter.Process(samples.data(), second, 2);
        EXPECT_GT(left(0), 9.0);
        EXPECT_NEAR(Decibels(samples.back()), 1.0, 1e-4);
        // 63 % of the 9 dB within 1 ms, and back within 200 ms.
        EXPECT_NEAR(left(second / 1000 - 1), 10.0 - 9.0 * (1.0 - std::exp(-1.0)), 0.01);
        std::fill(samples.begin(), samples.end(), 0.5f);
        limiter.Process(samples.data(), second / 5, 2);
        EXPECT_NEAR(left(second / 5 - 1) - Decibels(0.5f), -9.0 * std::exp(-1.0), 0.01);
        limiter.Process(samples.data(), second, 0);
    }
}

TEST(OutputLimiter, PassesFullScaleUntouched) {
    OutputLimiter limiter;
    const std::vector<float> in = {1.0f, -1.0f, 0.3f, 0.0f, -0.0f, 1e-40f};
    std::vector<float> samples = in;
    limiter.Process(samples.data(), 3, 2);
    ExpectSameBits(samples, in);
}

}  // namespace
}  // namespace quorvel::dynamics
