#include "authoring/draw/profile_charts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "authoring/document/formatted_print.h"
#include "authoring/measure/dynamics_measurement.h"
#include "authoring/measure/frequency_grid.h"
#include "authoring/measure/response_measurement.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

constexpr int kPointsPerOctave = 24;
constexpr double kShownRangeDb = 60.0;  // below the highest point
constexpr double kSame = 1e-3;          // output channels nearer than this share a curve
constexpr double kLowestGainDb = -80.0;

// One output channel of a response.
struct Part {
    std::string title{};
    const MeasuredResponse& response;
    std::uint32_t channel = 0;
    std::int64_t delay = 0;  // frames
};

Curve LevelCurve(const Part& part) {
    Curve curve{part.title, {}};
    for (std::size_t i = 0; i < part.response.frequencies.size(); ++i)
        curve.points.emplace_back(part.response.frequencies[i],
                                  part.response.LevelDb(i, part.channel));
    return curve;
}

// Degrees, without what the delay turns; broken where it wraps, and where nothing comes out that
// could have a phase.
Curve PhaseCurve(const Part& part) {
    constexpr double kBreak = std::numeric_limits<double>::quiet_NaN();
    const MeasuredResponse& response = part.response;
    const double seconds = static_cast<double>(part.delay) / response.sampleRate;
    Curve curve{part.title, {}};
    double last = 0.0;
    for (std::size_t i = 0; i < response.frequencies.size(); ++i) {
        const double frequency = response.frequencies[i];
        const auto turn = std::polar(1.0, 2.0 * std::numbers::pi * frequency * seconds);
        const double phase =
            std::arg(response.At(i, part.channel) * turn) * 180.0 / std::numbers::pi;
        const bool isSilent = response.LevelDb(i, part.channel) <= kSilenceDb;
        if (isSilent || std::fabs(phase - last) > 180.0)
            curve.points.emplace_back(frequency, kBreak);
        if (!isSilent) curve.points.emplace_back(frequency, phase);
        last = phase;
    }
    return curve;
}

bool AreSame(const MeasuredResponse& response, std::uint32_t a, std::uint32_t b) {
    for (std::size_t i = 0; i < response.frequencies.size(); ++i) {
        const auto one = response.At(i, a), other = response.At(i, b);
        if (std::abs(one - other) > kSame * std::max(std::abs(one), std::abs(other))) return false;
    }
    return true;
}

// The chain's, one for each output channel unless they are all the same.
std::vector<Part> ChainParts(const MeasuredResponse& response, std::int64_t delay) {
    std::vector<Part> parts;
    bool areSame = true;
    for (std::uint32_t c = 0; c < response.channels; ++c) {
        parts.push_back({"chain, output " + std::to_string(c + 1), response, c, delay});
        areSame = areSame && AreSame(response, 0, c);
    }
    if (!areSame) return parts;
    return {{"chain", response, 0, delay}};
}

Axis LevelAxis(const std::vector<Curve>& curves) {
    double lowest = 0.0, highest = kSilenceDb;
    for (const Curve& curve : curves) {
        for (const auto& [frequency, level] : curve.points) {
            lowest = std::min(lowest, level);
            highest = std::max(highest, level);
        }
    }
    return {"level (dB)", std::max(lowest, highest - kShownRangeDb) - 3.0, highest + 3.0};
}

void AddResponseCharts(const ChosenChain& chosen, const ChainFormat& format, std::int32_t only,
                       std::vector<Chart>& charts) {
    std::vector<double> grid = LogarithmicGrid(kPointsPerOctave, format.sampleRate);
    AddBandFrequencies(chosen.chain, grid);
    const MeasuredResponse chain = MeasureChain(chosen.chain, format, grid, only);
    const std::int64_t delay = std::max<std::int64_t>(chain.latency, 0);
    std::vector<Part> parts = ChainParts(chain, delay);
    std::vector<MeasuredResponse> filters;
    filters.reserve(chosen.chain.blocks.Count());
    for (unsigned i = 0; i < chosen.chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chosen.chain.blocks.Item(i);
        if (!IsFilter(block.typeId)) continue;
        filters.push_back(MeasureBlock(block, format, grid));
        parts.push_back({chosen.names[i], filters.back(), 0, 0});
    }
    const std::string input =
        only < 0 ? "a sine on all inputs" : "a sine on input " + std::to_string(only + 1);
    const Axis frequency{"frequency (Hz)", grid.front(), grid.back(), true};
    Chart magnitude{"Magnitude, " + input, frequency, {}, {}};
    const std::string without =
        delay > 0 ? Formatted(", without the delay of %lld frames", static_cast<long long>(delay))
                  : "";
    Chart phase{"Phase" + without, frequency, {"phase (degrees)", -180.0, 180.0}, {}};
    for (const Part& part : parts) {
        magnitude.curves.push_back(LevelCurve(part));
        phase.curves.push_back(PhaseCurve(part));
    }
    magnitude.y = LevelAxis(magnitude.curves);
    charts.push_back(std::move(magnitude));
    charts.push_back(std::move(phase));
}

// Without the points between two others that they lie level with.
Curve Thinned(Curve curve) {
    constexpr double kLevelDb = 0.01;
    std::vector<std::pair<double, double>> kept;
    for (std::size_t i = 0; i < curve.points.size(); ++i) {
        const auto isLevel = [&](std::size_t other) {
            return std::fabs(curve.points[other].second - kept.back().second) < kLevelDb;
        };
        const bool isEnd = i == 0 || i + 1 == curve.points.size();
        if (isEnd || !isLevel(i) || !isLevel(i + 1)) kept.push_back(curve.points[i]);
    }
    curve.points = std::move(kept);
    return curve;
}

std::string StepTitle(const LevelStep& step) {
    return Formatted("%.0f dB between %.0f and %.0f ms, %.0f dB else", step.stepDb, step.beginMs,
                     step.endMs, step.restDb);
}

void AddDynamicsCharts(const QuorvelAudioBlock& block, const std::string& name,
                       std::uint32_t sampleRate, std::vector<Chart>& charts) {
    Curve curve{name, {}}, unchanged{"unchanged", {}};
    for (const LevelPoint& point : MeasureStaticCurve(block)) {
        curve.points.emplace_back(point.inDb, point.outDb);
        unchanged.points.emplace_back(point.inDb, point.inDb);
    }
    charts.push_back({name + ": levels when settled",
                      {"input (dB of full scale)", -80.0, 6.0},
                      {"output (dB of full scale)", -80.0, 6.0},
                      {std::move(curve), std::move(unchanged)},
                      true});

    const LevelStep step = UsualStep(block);
    Curve gain{name, {}};
    double lowest = 0.0, highest = 0.0;
    for (const GainPoint& point : MeasureStep(block, sampleRate, step)) {
        gain.points.emplace_back(point.ms, std::max(point.gainDb, kLowestGainDb));
        lowest = std::min(lowest, gain.points.back().second);
        highest = std::max(highest, point.gainDb);
    }
    charts.push_back({name + ": " + StepTitle(step),
                      {"time (ms)", 0.0, step.lengthMs},
                      {"gain (dB)", lowest - 1.0, highest + 1.0},
                      {Thinned(std::move(gain))},
                      true});
}

}  // namespace

std::vector<Chart> ChainCharts(const ChosenChain& chosen, const ChainFormat& format,
                               std::int32_t only) {
    std::vector<Chart> charts;
    AddResponseCharts(chosen, format, only, charts);
    for (unsigned i = 0; i < chosen.chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chosen.chain.blocks.Item(i);
        if (IsDynamics(block.typeId))
            AddDynamicsCharts(block, chosen.names[i], format.sampleRate, charts);
    }
    return charts;
}

}  // namespace quorvel::tool
