// Frequencies at which responses are told and drawn.
#pragma once

#include <cstdint>
#include <vector>

namespace quorvel::tool {

// From 20 Hz to half the sample rate, both included, `pointsPerOctave` to the octave, in Hz.
std::vector<double> LogarithmicGrid(int pointsPerOctave, std::uint32_t sampleRate);

}  // namespace quorvel::tool
