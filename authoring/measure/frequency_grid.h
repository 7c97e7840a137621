// Frequencies at which responses are told and drawn.
#pragma once

#include <cstdint>
#include <vector>

#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

// From 20 Hz to half the sample rate, both included, `pointsPerOctave` to the octave, in Hz.
std::vector<double> LogarithmicGrid(int pointsPerOctave, std::uint32_t sampleRate);

// Adds the frequencies of the chain's filter bands that lie within the grid, so that no narrow peak
// or notch falls between its points. Keeps the order.
void AddBandFrequencies(const QuorvelAudioBlocksChain& chain, std::vector<double>& grid);

}  // namespace quorvel::tool
