#include "authoring/document/speakers.h"

#include <gtest/gtest.h>
#include <sndfile.h>

namespace quorvel::tool {
namespace {

TEST(Speakers, ChannelMapsBecomeMasksAndOrders) {
    struct Case {
        std::vector<int> map;
        std::uint32_t mask;
        std::vector<std::uint32_t> order;
    };
    const Case cases[] = {
        {{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT}, 0x3, {0, 1}},
        {{SF_CHANNEL_MAP_MONO}, 0x4, {0}},
        {{SF_CHANNEL_MAP_FRONT_RIGHT, SF_CHANNEL_MAP_FRONT_LEFT}, 0x3, {1, 0}},
        {{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_RIGHT,
          SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT, SF_CHANNEL_MAP_LFE},
         0x60F,
         {0, 2, 1, 5, 3, 4}},
        {{SF_CHANNEL_MAP_REAR_CENTER, SF_CHANNEL_MAP_TOP_REAR_RIGHT}, 0x20100, {0, 1}},
        {{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_LEFT}, 0, {}},
        {{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_INVALID}, 0, {}},
        {{SF_CHANNEL_MAP_AMBISONIC_B_W, SF_CHANNEL_MAP_AMBISONIC_B_X}, 0, {}},
    };
    for (const Case& expected : cases) {
        const ChannelLayout layout = LayoutFromChannelMap(expected.map);
        EXPECT_EQ(layout.mask, expected.mask);
        EXPECT_EQ(layout.order, expected.order);
    }
}

TEST(Speakers, MasksBecomeMapsAndBack) {
    for (std::uint32_t mask = 1; mask < 1u << 18; mask = mask * 3 + 1)
        EXPECT_EQ(LayoutFromChannelMap(ChannelMapFromMask(mask)).mask, mask);
    EXPECT_EQ(SpeakerNames(0x63F), "FL FR FC LFE BL BR SL SR");
    EXPECT_EQ(SpeakerNames(0), "none");
}

}  // namespace
}  // namespace quorvel::tool
