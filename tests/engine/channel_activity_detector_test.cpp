#include "engine/channel_activity_detector.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorvel {
namespace {

struct Buffer {
    uint32_t mask;
    int32_t frames;
    uint32_t activeChannels;  // expected after the buffer
};

void Play(ChannelActivityDetector& detector, const std::vector<Buffer>& buffers) {
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        detector.Update(buffers[i].mask, buffers[i].frames);
        EXPECT_EQ(detector.ActiveChannels(), buffers[i].activeChannels) << "buffer " << i;
    }
}

TEST(ChannelActivityDetector, WidensAtOnceAndNarrowsAfterTheHold) {
    ChannelActivityDetector detector;
    detector.SetHoldFrames(960);
    Play(detector, {{0x000, 480, 0},    // silence decides nothing
                    {0x100, 480, 0},    // nor does a speaker of no layout
                    {0x003, 480, 2},    // the first detection holds at once
                    {0x60F, 480, 8},    // the last layout that matches wins
                    {0x003, 480, 8},    // narrower: the first buffer only starts the count
                    {0x003, 480, 8},    // 480 held
                    {0x000, 480, 8},    // silence neither counts nor resets
                    {0x004, 480, 8},    // another narrower width starts anew
                    {0x004, 480, 8},    //
                    {0x004, 479, 8},    // 959 held
                    {0x004, 1, 6},      // 960 held
                    {0x200, 480, 8},    //
                    {0x003, 480, 8},    //
                    {0x003, 960, 2}});  // one long buffer is as good as two
    EXPECT_EQ(detector.ActiveChannelMask(), 0x3u);
}

TEST(ChannelActivityDetector, SameWidthAgainResetsTheHold) {
    ChannelActivityDetector detector;
    detector.SetHoldFrames(480);
    Play(detector, {{0x200, 480, 8}, {0x3, 480, 8}, {0x200, 480, 8}, {0x3, 480, 8}, {0x3, 480, 2}});
}

TEST(ChannelActivityDetector, ResetForgetsTheHoldToo) {
    ChannelActivityDetector detector;
    detector.SetHoldFrames(1 << 30);
    detector.Update(0x200, 480);
    detector.Reset();
    Play(detector, {{0x200, 480, 8}, {0x3, 480, 8}, {0x3, 480, 2}});
}

}  // namespace
}  // namespace quorvel
