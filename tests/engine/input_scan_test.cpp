#include "engine/input_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "base/channel_masks.h"

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

}  // namespace
}  // namespace quorvel
