// How two sounds differ once they are laid on top of each other.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvel::tool {

struct SoundSamples {
    std::uint32_t channels = 0;
    std::uint32_t mask = 0;            // speakers; 0: the default ones
    std::uint32_t sampleRate = 48000;  // Hz
    std::vector<float> samples{};      // frames × channels

    std::int64_t Frames() const {
        return channels == 0 ? 0 : static_cast<std::int64_t>(samples.size() / channels);
    }
};

struct ChannelDifference {
    double peak = 0.0;  // of the residual, linear
    double rms = 0.0;
};

struct SoundDifference {
    std::int64_t shift = 0;           // frames by which the second sound is later
    std::int64_t frames = 0;          // that were compared
    std::int64_t unpairedFirst = 0;   // frames of the first sound that were not, though not silent
    std::int64_t unpairedSecond = 0;  // and of the second
    std::vector<ChannelDifference> channels{};
    std::int64_t firstFrame = -1;  // of the first sound, that differs; -1: none does
    std::int64_t worstFrame = 0;   // where the 10 ms with the most residual begin, to a millisecond
    double worstRms = 0.0;         // theirs, over all channels
};

// By how many frames, at most `most` either way, `second` is later than `first`: where their
// channels' cross-correlation, with either sign and relative to their power, is largest around the
// loudest place of `first` that both may have. The smallest shift where several are as good; 0 for
// silence. Equal widths. Samples that are not finite count as silence.
std::int64_t FindShift(const SoundSamples& first, const SoundSamples& second, std::int64_t most);

// The residual second - first of the frames that both have. Equal widths. A sample that is not
// finite on one side only counts as infinitely far.
SoundDifference Compare(const SoundSamples& first, const SoundSamples& second, std::int64_t shift);

}  // namespace quorvel::tool
