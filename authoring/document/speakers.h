// Speakers of a channel layout: their names, and audio files' channel maps as speaker masks.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quorvel::tool {

// The short names of the speakers of a mask in channel order, such as "FL FR FC LFE"; "none" for 0.
std::string SpeakerNames(std::uint32_t mask);

// How the channels of a file map to speakers.
struct ChannelLayout {
    std::uint32_t mask = 0;  // 0: the map does not give each channel a speaker of its own
    std::vector<std::uint32_t> order{};  // channel of the file for each channel in speaker order
};

// Reads libsndfile's channel map (SF_CHANNEL_MAP_ values), one entry a channel.
ChannelLayout LayoutFromChannelMap(std::span<const int> map);

// The channel map of a mask, one entry a speaker in channel order.
std::vector<int> ChannelMapFromMask(std::uint32_t mask);

}  // namespace quorvel::tool
