#include "engine/channel_activity_detector.h"

#include <algorithm>
#include <array>

namespace quorvel {
namespace {

// A signal on any of `speakers` needs the layout of that row; the last row that matches wins.
struct Layout {
    uint32_t speakers = 0;
    uint32_t channels = 0;
    uint32_t mask = 0;
};

constexpr std::array<Layout, 3> kLayouts = {{
    {0x003, 2, 0x003},  // front pair
    {0x03C, 6, 0x60F},  // centre, low frequency, back pair
    {0x600, 8, 0x63F},  // side pair
}};

const Layout* LayoutFor(uint32_t mask) {
    const Layout* match = nullptr;
    for (const Layout& layout : kLayouts) {
        if (mask & layout.speakers) match = &layout;
    }
    return match;
}

}  // namespace

void ChannelActivityDetector::Update(uint32_t mask, int32_t frames) {
    const Layout* candidate = LayoutFor(mask);
    if (!candidate) return;
    const bool isRepeated = candidate->channels == detectedChannels;
    if (!isRepeated) heldFrames = 0;
    bool switches = activeChannels == 0 || candidate->channels > activeChannels;
    if (candidate->channels < activeChannels && isRepeated) {
        const uint32_t room = UINT32_MAX - heldFrames;
        heldFrames += std::min(static_cast<uint32_t>(frames), room);
        switches = heldFrames >= holdFrames;
    }
    detectedChannels = candidate->channels;
    if (!switches) return;
    activeChannels = candidate->channels;
    activeChannelMask = candidate->mask;
    heldFrames = 0;
}

void ChannelActivityDetector::Reset() {
    detectedChannels = 0;
    activeChannels = 0;
    holdFrames = 0;
    heldFrames = 0;
}

}  // namespace quorvel
