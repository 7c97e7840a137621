#include "authoring/measure/ear_differences.h"

#include <algorithm>
#include <cmath>

namespace quorvel::tool {
namespace {

constexpr FilterBand kLow = {150.0f, 0.70710678f};
constexpr FilterBand kHigh = {1500.0f, 0.70710678f};
constexpr double kLongestLagSeconds = 0.001;

// Where the parabola through three neighbouring points has its top, from -0.5 to 0.5 of a step.
double TopBetween(double before, double at, double after) {
    const double bend = before - 2.0 * at + after;
    return bend < 0.0 ? 0.5 * (before - after) / bend : 0.0;
}

void SetUp(BiquadBank& bank, FilterType type, const FilterBand& band, std::uint32_t rate) {
    bank.sampleRate = rate;
    bank.Configure(2, 1, type, &band);
}

}  // namespace

EarDifferences::EarDifferences(std::uint32_t sampleRate, std::size_t groups)
    : rate(sampleRate),
      longestLag(std::lround(kLongestLagSeconds * sampleRate)),
      results(groups),
      heard(static_cast<std::size_t>(4 * longestLag)) {
    SetUp(highPass, FilterType::HighPass, kLow, rate);
    SetUp(lowPass, FilterType::LowPass, kHigh, rate);
    for (Group& group : results)
        group.correlation.resize(static_cast<std::size_t>(2 * longestLag + 1));
}

// Of the frames in the middle of what is kept, so that both sides of the lags are there.
void EarDifferences::Add(std::span<const float> stereo, std::size_t group) {
    const std::size_t past = static_cast<std::size_t>(4 * longestLag);
    const auto frames = static_cast<std::int32_t>(stereo.size() / 2);
    heard.resize(past + stereo.size());
    highPass.Process(stereo.data(), heard.data() + past, frames, 2);
    lowPass.Process(heard.data() + past, heard.data() + past, frames, 2);
    if (group < results.size()) Count(stereo, results[group]);
    std::copy(heard.end() - static_cast<std::ptrdiff_t>(past), heard.end(), heard.begin());
}

void EarDifferences::Count(std::span<const float> stereo, Group& group) {
    for (std::size_t i = 0; i < stereo.size(); i += 2) {
        group.left += double{stereo[i]} * stereo[i];
        group.right += double{stereo[i + 1]} * stereo[i + 1];
    }
    const auto frames = static_cast<std::int64_t>(stereo.size() / 2);
    group.frames += frames;
    for (std::int64_t lag = -longestLag; lag <= longestLag; ++lag) {
        const float* left = heard.data() + 2 * longestLag;
        const float* right = left + 2 * lag + 1;
        double sum = 0.0;
        for (std::int64_t f = 0; f < frames; ++f)
            sum += double{left[2 * f]} * right[2 * f];
        group.correlation[static_cast<std::size_t>(lag + longestLag)] += sum;
    }
}

EarDifference EarDifferences::Result(std::size_t group) const {
    const Group& counted = results[group];
    if (counted.frames == 0 || counted.left == 0.0 || counted.right == 0.0) return {};
    const auto& sums = counted.correlation;
    const auto top = std::max_element(sums.begin() + 1, sums.end() - 1);
    const double lag =
        static_cast<double>(top - sums.begin() - longestLag) + TopBetween(top[-1], top[0], top[1]);
    return {.seconds = static_cast<double>(counted.frames) / rate,
            .levelDb = 10.0 * std::log10(counted.left / counted.right),
            .timeUs = lag * 1e6 / rate};
}

}  // namespace quorvel::tool
