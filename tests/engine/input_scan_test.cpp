#include "engine/input_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "engine/channel_masks.h"
#include "platform/random.h"

namespace quorvel {
namespace {

constexpr float kStep = 1.0f / 32768.0f;

// The speaker of channel `channel` in `mask`; 0 beyond the mask.
uint32_t SpeakerOf(uint32_t mask, int channel) {
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        if ((mask & bit) && channel-- == 0) return bit;
    }
    return 0;
}

// One loud sample anywhere marks its own channel and no other, at every width and length.
TEST(InputScan, FindsTheChannelOfEverySample) {
    for (int channels = 1; channels <= 12; ++channels) {
        const uint32_t mask =
            channels <= 8 ? DefaultChannelMask(static_cast<uint32_t>(channels)) : 0xFF3Fu;
        InputScan scan;
        scan.SetNoiseEnabled(false);
        scan.SetMask(mask);
        for (const int frames : {1, 2, 9, 17}) {
            std::vector<float> samples(static_cast<std::size_t>(channels * frames), 3 * kStep);
            EXPECT_EQ(scan.Run(samples.data(), frames, channels), 0u);
            for (std::size_t i = 0; i < samples.size(); ++i) {
                samples[i] = std::nextafter(-3 * kStep, -1.0f);
                EXPECT_EQ(scan.Run(samples.data(), frames, channels),
                          SpeakerOf(mask, static_cast<int>(i) % channels));
                samples[i] = std::numeric_limits<float>::quiet_NaN();  // compares as no signal
            }
        }
    }
}

// More channels than speaker bits exist, as a hostile format may say.
TEST(InputScan, ManyChannelsStayInBounds) {
    InputScan scan;
    scan.SetMask(0xFFFFFFFF);
    std::vector<float> samples(3 * 1000, 1.0f);
    EXPECT_EQ(scan.Run(samples.data(), 3, 1000), 0xFFFFFFFFu);
    EXPECT_EQ(scan.Run(samples.data(), 0, 0), 0u);
}

TEST(InputScan, NoiseFollowsTheGeneratorOnZerosAndSignalOnly) {
    std::mt19937 random(5);
    std::vector<float> samples(997);
    for (float& x : samples) {
        const float kinds[] = {0.0f, -0.0f, 0.00005f, -0.00005f, 3 * kStep, 0.5f, -0.7f};
        x = kinds[random() % 7];
    }
    platform::SeedRand(99);
    InputScan scan;
    scan.SetMask(0x3);
    auto noisy = samples;
    platform::SeedRand(7);
    scan.Run(noisy.data(), 997, 1);

    platform::SeedRand(99);
    float table[16];
    for (int i = 0; i < 16; ++i) {
        table[i] = static_cast<float>(platform::Rand() % 10922);
        if (i % 2 == 1) table[i] = -table[i];
        table[i] = table[i] / 10922.667f * 9.1552734e-05f;
        EXPECT_LE(std::fabs(table[i]), 3 * kStep);
    }
    platform::SeedRand(7);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const bool getsNoise = samples[i] == 0.0f || std::fabs(samples[i]) > 3 * kStep;
        const float expected = getsNoise ? samples[i] + table[platform::Rand() & 15] : samples[i];
        ASSERT_EQ(noisy[i], expected) << i;
    }
}

}  // namespace
}  // namespace quorvel
