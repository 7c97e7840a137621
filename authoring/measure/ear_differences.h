// How much louder and how much earlier one ear hears than the other.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "dsp/biquad/biquad_bank.h"

namespace quorvel::tool {

struct EarDifference {
    double seconds = 0.0;  // that were compared; 0: none, and there is no difference
    double levelDb = 0.0;  // positive: the left ear is louder
    double timeUs = 0.0;   // positive: the left ear is earlier
};

// Takes in a stereo signal in stretches and says how its channels differ in some of them.
//
// The level is that of the whole spectrum. The time is where the cross-correlation of what lies
// between 150 Hz and 1500 Hz, in which an ear goes by it, is largest within ±1 ms, to a fraction of
// a frame by a parabola through three points.
class EarDifferences {
  public:
    // For `sampleRate` in Hz and so many groups of stretches, each with a result of its own.
    EarDifferences(std::uint32_t sampleRate, std::size_t groups);

    // The next frames × 2 samples; they count for `group`, or for none when it is no group.
    void Add(std::span<const float> stereo, std::size_t group);

    EarDifference Result(std::size_t group) const;

  private:
    struct Group {
        std::int64_t frames = 0;
        double left = 0.0;  // energy
        double right = 0.0;
        std::vector<double> correlation{};  // of left now with right `lag` frames later
    };

    void Count(std::span<const float> stereo, Group& group);

    std::uint32_t rate;
    std::int64_t longestLag;  // frames
    std::vector<Group> results;
    BiquadBank highPass{};
    BiquadBank lowPass{};
    std::vector<float> heard;  // band-limited stereo, from 2 × longestLag frames ago on
};

}  // namespace quorvel::tool
