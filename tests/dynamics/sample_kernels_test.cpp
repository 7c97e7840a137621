#include "blocks/dynamics/sample_kernels.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/dynamics/same_bits.h"

namespace quorvel::dynamics {
namespace {

constexpr float kLargest = std::numeric_limits<float>::max();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(SampleKernels, FloatNotAboveRoundsDown) {
    for (const float x : {0.1f, 1.0f, -0.3f, 1e-42f, kLargest}) {
        const auto exact = static_cast<double>(x);
        EXPECT_EQ(FloatNotAbove(exact), x);
        EXPECT_EQ(FloatNotAbove(std::nextafter(exact, 1e300)), x);
        EXPECT_EQ(FloatNotAbove(std::nextafter(exact, -1e300)), std::nextafter(x, -kInfinity));
    }
    EXPECT_EQ(FloatNotAbove(1e300), kLargest);
    EXPECT_EQ(FloatNotAbove(HUGE_VAL), kInfinity);
    EXPECT_EQ(FloatNotAbove(-1e300), -kInfinity);
    EXPECT_TRUE(std::isnan(FloatNotAbove(NAN)));
}

// Samples of every magnitude up to `ceiling`.
std::vector<float> AnySamples(std::mt19937& random, std::size_t count, float ceiling) {
    std::vector<float> samples;
    while (samples.size() < count) {
        const auto x = std::bit_cast<float>(static_cast<uint32_t>(random()));
        if (std::fabs(x) <= ceiling) samples.push_back(x);
    }
    return samples;
}

// Gains on each side of every change of method: near 1, exact in single precision, with results
// below the normal floats (ties between two of them included), and any other.
TEST(SampleKernels, EveryWayToScaleHasTheSameBits) {
    std::mt19937 random(3);
    for (const double gain : {0.0,
                              -0.0,
                              1.0,
                              1.0 + 0x1p-26,
                              1.0 - 0x1p-26,
                              1.0 + 0x1p-25,
                              1.0 - 0x1.1p-25,
                              0.5,
                              0.3,
                              -0.3,
                              static_cast<double>(0.7f),
                              2.7,
                              0x1p-149,
                              0x1.8p-149,
                              0x1p-136,
                              2400 * 0x1p-136,
                              3 * 0x1p-136,
                              0x1p-126,
                              1e-38,
                              1.1e-41,
                              1e-60,
                              1e-310,
                              1e300,
                              HUGE_VAL}) {
        for (const int32_t channels : {1, 2, 3, 7, 8, 40}) {
            const std::vector<float> in =
                AnySamples(random, static_cast<std::size_t>(37 * channels), 1.0f);
            std::vector<float> out(in.size());
            ASSERT_EQ(ScaleWhileBelow(in.data(), out.data(), 37, channels, 1.0f, gain), 37);
            for (std::size_t i = 0; i < in.size(); ++i) {
                const auto expected = static_cast<float>(static_cast<double>(in[i]) * gain);
                ASSERT_TRUE(SameBits(out[i], expected))
                    << in[i] << " * " << gain << " = " << expected << ", not " << out[i];
            }
        }
    }
}

TEST(SampleKernels, NoGainMakesSoundFromSilence) {
    for (const double gain : {1e-60, 0.5, 1e300}) {
        std::vector<float> samples(100, -0.0f);
        ASSERT_EQ(ScaleWhileBelow(samples.data(), samples.data(), 50, 2, 0.0f, gain), 50);
        for (const float x : samples)
            ASSERT_TRUE(SameBits(x, -0.0f));
    }
}

// Whatever it leaves undone must be untouched, and whole frames, though a NaN may pass or stop it.
TEST(SampleKernels, StopsBeforeTheLoudFrame) {
    for (const int32_t channels : {1, 2, 3, 5, 8, 64}) {
        for (const float loud : {0.75f, -kInfinity}) {
            for (int32_t at = 0; at < 200; ++at) {
                std::vector<float> samples(static_cast<std::size_t>(200 * channels), 0.5f);
                const int32_t channel = at % channels;
                samples[static_cast<std::size_t>(at * channels + channel)] = loud;
                const int32_t done =
                    ScaleWhileBelow(samples.data(), samples.data(), 200, channels, 0.5f, 0.5);
                ASSERT_LE(done, at);
                ASSERT_GT(done, at - 64);
                for (int32_t i = 0; i < 200 * channels; ++i) {
                    const float before = i == at * channels + channel ? loud : 0.5f;
                    ASSERT_EQ(samples[static_cast<std::size_t>(i)],
                              i < done * channels ? before * 0.5f : before);
                }
            }
        }
    }
    float sample = 0.0f;
    EXPECT_EQ(ScaleWhileBelow(&sample, &sample, 1, 1, NAN, 0.5), 0);
    EXPECT_EQ(ScaleWhileBelow(&sample, &sample, 1, 1, -1.0f, 0.5), 0);
}

}  // namespace
}  // namespace quorvel::dynamics
