#include "dsp/dynamics/sample_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/same_bits.h"

namespace quorvel::dynamics {
namespace {

using test::ExpectSameBits;
using test::SameBits;

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
const std::vector<double> kGains = {0.0,
                                    -0.0,
                                    1.0,
                                    1.0 + 0x1p-26,
                                    1.0 - 0x1p-26,
                                    1.0 + 0x1p-25,
                                    1.0 - 0x1.1p-25,
                                    0.5,
                                    0.3,
                                    -0.3,
                                    double{0.7f},
                                    2.7,
                                    0x1p-149,
                                    0x1.8p-149,
                                    0x1.00000004p-150,
                                    0x1p-136,
                                    2400 * 0x1p-136,
                                    3 * 0x1p-136,
                                    0x1p-126,
                                    1e-38,
                                    1.1e-41,
                                    1e-60,
                                    1e-310,
                                    1e300,
                                    HUGE_VAL};

TEST(SampleKernels, EveryWayToScaleHasTheSameBits) {
    std::mt19937 random(3);
    for (const double gain : kGains) {
        for (const int32_t channels : {1, 2, 3, 7, 8, 40}) {
            SCOPED_TRACE(testing::Message() << channels << " channels * " << gain);
            auto in = AnySamples(random, static_cast<std::size_t>(37 * channels), 1.0f);
            in[0] = in.back() = -0.0f;
            in[1] = 1.0f;
            std::vector<float> out(in.size()), expected(in.size());
            ASSERT_EQ(ScaleWhileBelow(in.data(), out.data(), 37, channels, 1.0f, gain), 37);
            for (std::size_t i = 0; i < in.size(); ++i)
                expected[i] = static_cast<float>(static_cast<double>(in[i]) * gain);
            ExpectSameBits(out, expected);
        }
    }
}

// Whatever it leaves undone must be untouched, and whole frames, though a NaN may pass or stop it.
TEST(SampleKernels, StopsBeforeTheLoudFrame) {
    for (const std::size_t channels : {1u, 2u, 3u, 5u, 8u, 64u}) {
        for (std::size_t at = 0; at < 200; ++at) {
            const float loud = at % 2 == 0 ? 0.75f : -kInfinity;
            std::vector<float> samples(200 * channels, 0.5f);
            samples[at * channels + at / 2 % channels] = loud;
            auto expected = samples;
            const int32_t done = ScaleWhileBelow(samples.data(), samples.data(), 200,
                                                 static_cast<int32_t>(channels), 0.5f, 0.5);
            ASSERT_LE(done, static_cast<int32_t>(at));
            ASSERT_GT(done, static_cast<int32_t>(at) - 64);
            std::fill_n(expected.begin(), static_cast<std::size_t>(done) * channels, 0.25f);
            ASSERT_EQ(samples, expected);
        }
    }
    float sample = -0.0f;
    EXPECT_EQ(ScaleWhileBelow(&sample, &sample, 1, 1, NAN, 0.5), 0);
    EXPECT_EQ(ScaleWhileBelow(&sample, &sample, 1, 1, -1.0f, 0.5), 0);
    EXPECT_EQ(ScaleWhileBelow(&sample, &sample, 1, 1, 0.0f, 1e300), 1);
    EXPECT_TRUE(SameBits(sample, -0.0f));
}

}  // namespace
}  // namespace quorvel::dynamics
