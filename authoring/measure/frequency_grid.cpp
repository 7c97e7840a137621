#include "authoring/measure/frequency_grid.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "authoring/measure/response_measurement.h"
#include "dsp/biquad/filter_band.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

// The record is a count and its bands.
void AddBandsOf(const QuorvelAudioBlock& block, double lowest, double highest,
                std::vector<double>& grid) {
    for (std::size_t at = sizeof(std::uint32_t); at + sizeof(FilterBand) <= block.dataSize;
         at += sizeof(FilterBand)) {
        FilterBand band;
        std::memcpy(&band, block.data + at, sizeof(band));
        const double frequency = double{band.frequency};
        if (frequency > lowest && frequency < highest) grid.push_back(frequency);
    }
}

}  // namespace

std::vector<double> LogarithmicGrid(int pointsPerOctave, std::uint32_t sampleRate) {
    constexpr double kLowest = 20.0;
    const double nyquist = sampleRate / 2.0;
    std::vector<double> grid;
    for (int i = 0;; ++i) {
        const double frequency = kLowest * std::exp2(double(i) / pointsPerOctave);
        if (frequency >= nyquist) break;
        grid.push_back(frequency);
    }
    grid.push_back(nyquist);
    return grid;
}

void AddBandFrequencies(const QuorvelAudioBlocksChain& chain, std::vector<double>& grid) {
    const double lowest = grid.front(), highest = grid.back();
    for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chain.blocks.Item(i);
        if (IsFilter(block.typeId) && block.data) AddBandsOf(block, lowest, highest, grid);
    }
    std::ranges::sort(grid);
    const auto repeated = std::ranges::unique(grid);
    grid.erase(repeated.begin(), repeated.end());
}

}  // namespace quorvel::tool
