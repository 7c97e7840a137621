#include "tools/frequency_grid.h"

#include <cmath>

namespace quorvel::tool {

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

}  // namespace quorvel::tool
