// The channel masks that the objects accept for a channel count.
#pragma once

#include <cstdint>
#include <span>

namespace quorvel {

// The preferred mask first; empty for a count without an entry (0, or more than 8).
std::span<const std::uint32_t> AcceptedChannelMasks(std::uint32_t channelCount);

}  // namespace quorvel
