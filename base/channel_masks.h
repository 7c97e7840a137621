// Speaker masks: which speaker each channel of a frame feeds.
#pragma once

#include <cstdint>

namespace quorvel {

// The speaker mask assumed for a stream of `channels` channels that carries none: 1 to 8 channels
// give a mask of as many bits (Windows' SPEAKER_ bits, ascending in channel order), any other count
// gives 0. Three channels are left, right and low frequency; six and eight use side speakers.
uint32_t DefaultChannelMask(uint32_t channels);

}  // namespace quorvel
