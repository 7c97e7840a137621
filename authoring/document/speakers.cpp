#include "authoring/document/speakers.h"

#include <sndfile.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace quorvel::tool {
namespace {

struct Speaker {
    const char* name;
    int mapped;     // what libsndfile calls it
    int alsoKnown;  // another of its values for the same speaker, or 0
};

// By the bit of the speaker mask.
constexpr std::array<Speaker, 18> kSpeakers = {{
    {"FL", SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_FRONT_LEFT},
    {"FR", SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_FRONT_RIGHT},
    {"FC", SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_FRONT_CENTER},
    {"LFE", SF_CHANNEL_MAP_LFE, 0},
    {"BL", SF_CHANNEL_MAP_REAR_LEFT, 0},
    {"BR", SF_CHANNEL_MAP_REAR_RIGHT, 0},
    {"FLC", SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, 0},
    {"FRC", SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, 0},
    {"BC", SF_CHANNEL_MAP_REAR_CENTER, 0},
    {"SL", SF_CHANNEL_MAP_SIDE_LEFT, 0},
    {"SR", SF_CHANNEL_MAP_SIDE_RIGHT, 0},
    {"TC", SF_CHANNEL_MAP_TOP_CENTER, 0},
    {"TFL", SF_CHANNEL_MAP_TOP_FRONT_LEFT, 0},
    {"TFC", SF_CHANNEL_MAP_TOP_FRONT_CENTER, 0},
    {"TFR", SF_CHANNEL_MAP_TOP_FRONT_RIGHT, 0},
    {"TBL", SF_CHANNEL_MAP_TOP_REAR_LEFT, 0},
    {"TBC", SF_CHANNEL_MAP_TOP_REAR_CENTER, 0},
    {"TBR", SF_CHANNEL_MAP_TOP_REAR_RIGHT, 0},
}};
constexpr std::size_t kCenterBit = 2;

// The bit of a map's entry; kSpeakers.size() when it names no speaker.
std::size_t SpeakerBit(int mapped) {
    if (mapped == SF_CHANNEL_MAP_MONO) return kCenterBit;
    if (mapped == SF_CHANNEL_MAP_INVALID) return kSpeakers.size();
    const auto found =
        std::find_if(kSpeakers.begin(), kSpeakers.end(), [&](const Speaker& speaker) {
            return speaker.mapped == mapped || speaker.alsoKnown == mapped;
        });
    return static_cast<std::size_t>(found - kSpeakers.begin());
}

}  // namespace

std::string SpeakerNames(std::uint32_t mask) {
    std::string names;
    for (std::size_t bit = 0; bit < kSpeakers.size(); ++bit) {
        if (!(mask >> bit & 1)) continue;
        if (!names.empty()) names += ' ';
        names += kSpeakers[bit].name;
    }
    return names.empty() ? "none" : names;
}

ChannelLayout LayoutFromChannelMap(std::span<const int> map) {
    ChannelLayout layout;
    for (const int mapped : map) {
        const std::size_t bit = SpeakerBit(mapped);
        if (bit == kSpeakers.size() || (layout.mask >> bit & 1)) return {};
        layout.mask |= 1u << bit;
    }
    layout.order.resize(map.size());
    std::iota(layout.order.begin(), layout.order.end(), 0u);
    std::sort(layout.order.begin(), layout.order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return SpeakerBit(map[a]) < SpeakerBit(map[b]);
    });
    return layout;
}

std::vector<int> ChannelMapFromMask(std::uint32_t mask) {
    std::vector<int> map;
    for (std::size_t bit = 0; bit < kSpeakers.size(); ++bit) {
        if (mask >> bit & 1) map.push_back(kSpeakers[bit].mapped);
    }
    return map;
}

}  // namespace quorvel::tool
