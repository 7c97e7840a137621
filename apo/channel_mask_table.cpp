#include "apo/channel_mask_table.h"

#include <iterator>

namespace quorvel {
namespace {

struct ChannelMasks {
    std::uint32_t count;
    std::uint32_t masks[3];
};

constexpr ChannelMasks kChannelMaskTable[] = {
    {0, {}},                    // no channels
    {1, {0x4}},                 // centre
    {1, {0x3}},                 // stereo
    {2, {0xB, 0x7}},            // stereo and low frequency, or centre
    {2, {0x33, 0xF}},           // quad, or 3.1
    {2, {0x3B, 0x37}},          // quad and low frequency, or centre
    {3, {0x60F, 0x3F, 0x707}},  // 5.1 with side or back speakers, 6.0
    {3, {0x70F, 0x637, 0xF7}},  // 6.1 with side speakers, 7.0, 7.0 wide
    {2, {0x63F, 0xFF}},         // 7.1, 7.1 wide
};

}  // namespace

std::span<const std::uint32_t> AcceptedChannelMasks(std::uint32_t channelCount) {
    if (channelCount >= std::size(kChannelMaskTable)) return {};
    const ChannelMasks& entry = kChannelMaskTable[channelCount];
    return {entry.masks, entry.count};
}

}  // namespace quorvel
