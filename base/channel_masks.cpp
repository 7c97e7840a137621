#include "base/channel_masks.h"

#include <array>

namespace quorvel {
namespace {

constexpr std::array<uint32_t, 9> kDefaultMaskOfWidth = {
    0x000,
    0x004,  // front centre
    0x003,  // front left, front right
    0x00B,  // front pair, low frequency
    0x033,  // front pair, back pair
    0x03B,  // front pair, low frequency, back pair
    0x60F,  // front pair, centre, low frequency, side pair
    0x70F,  // the six above and back centre
    0x63F,  // front pair, centre, low frequency, back pair, side pair
};

}  // namespace

uint32_t DefaultChannelMask(uint32_t channels) {
    return channels < kDefaultMaskOfWidth.size() ? kDefaultMaskOfWidth[channels] : 0;
}

}  // namespace quorvel
