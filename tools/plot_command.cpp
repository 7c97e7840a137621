#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>

#include "engine/block_factory.h"
#include "engine/block_type_ids.h"
#include "profile/quorvel_audio_block.h"
#include "tools/dynamics_measurement.h"
#include "tools/exit_status.h"
#include "tools/external_program.h"
#include "tools/formatted_print.h"
#include "tools/frequency_grid.h"
#include "tools/impulse_response.h"
#include "tools/output_file.h"
#include "tools/picture_options.h"
#include "tools/plot_script.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr ExternalProgram kGnuplot{"gnuplot", "gnuplot-nox"};
constexpr int kPointsPerOctave = 24;
constexpr double kShownRangeDb = 60.0;  // below the highest point
constexpr double kSameDb = 0.01;        // output channels nearer than this share a curve
constexpr LevelStep kBurst{.restDb = -40.0, .stepDb = 6.0, .endMs = 150.0, .lengthMs = 500.0};

struct Options : PictureOptions {
    std::int32_t only = 0;  // input channel from 1; 0: all
};

// One measured transfer function.
struct Response {
    std::string title{};
    std::vector<double> levels{};  // dB, by point of the grid
    std::vector<double> phases{};  // degrees
};

std::vector<double> Grid(std::uint32_t sampleRate) {
    return LogarithmicGrid(kPointsPerOctave, sampleRate);
}

// The phase without what the delay turns.
Response Sample(const ImpulseResponse& measured, std::uint32_t channel, std::string title) {
    const auto delay = static_cast<double>(std::max<std::int64_t>(measured.Onset(), 0));
    Response response{std::move(title)};
    for (const double frequency : Grid(measured.sampleRate)) {
        const double turn = 2.0 * std::numbers::pi * frequency * delay / measured.sampleRate;
        const std::complex<double> value = measured.At(channel, frequency) * std::polar(1.0, turn);
        response.levels.push_back(std::max(20.0 * std::log10(std::abs(value)), kSilenceDb));
        response.phases.push_back(std::arg(value) * 180.0 / std::numbers::pi);
    }
    return response;
}

bool IsSame(const Response& a, const Response& b) {
    return std::ranges::equal(a.levels, b.levels,
                              [](double x, double y) { return std::fabs(x - y) < kSameDb; });
}

// The chain's, one for each output channel unless they are all the same.
std::vector<Response> ChainResponses(const ImpulseResponse& measured) {
    std::vector<Response> responses;
    for (std::uint32_t c = 0; c < measured.channels; ++c)
        responses.push_back(Sample(measured, c, "chain, output " + std::to_string(c + 1)));
    const bool areSame = std::ranges::all_of(
        responses, [&](const Response& response) { return IsSame(response, responses.front()); });
    if (!areSame) return responses;
    responses.resize(1);
    responses.front().title = "chain";
    return responses;
}

Curve LevelCurve(const Response& response, const std::vector<double>& grid) {
    Curve curve{response.title, {}};
    for (std::size_t i = 0; i < grid.size(); ++i)
        curve.points.emplace_back(grid[i], response.levels[i]);
    return curve;
}

// Broken where the phase wraps, and where nothing passes that could have one.
Curve PhaseCurve(const Response& response, const std::vector<double>& grid) {
    constexpr double kBreak = std::numeric_limits<double>::quiet_NaN();
    Curve curve{response.title, {}};
    for (std::size_t i = 0; i < grid.size(); ++i) {
        const bool isSilent = response.levels[i] <= kSilenceDb;
        const bool wraps = i > 0 && std::fabs(response.phases[i] - response.phases[i - 1]) > 180.0;
        if (isSilent || wraps) curve.points.emplace_back(grid[i], kBreak);
        if (!isSilent) curve.points.emplace_back(grid[i], response.phases[i]);
    }
    return curve;
}

void AddResponseCharts(const std::vector<Response>& responses, std::uint32_t sampleRate,
                       std::vector<Chart>& charts) {
    const std::vector<double> grid = Grid(sampleRate);
    double lowest = 0.0, highest = 0.0;
    for (const Response& response : responses) {
        lowest = std::min(lowest, std::ranges::min(response.levels));
        highest = std::max(highest, std::ranges::max(response.levels));
    }
    const Axis frequency{"frequency (Hz)", grid.front(), grid.back(), true};
    Chart magnitude{"Magnitude",
                    frequency,
                    {"level (dB)", std::max(lowest, highest - kShownRangeDb) - 3.0, highest + 3.0},
                    {}};
    Chart phase{"Phase, without the delay", frequency, {"phase (degrees)", -180.0, 180.0}, {}};
    for (const Response& response : responses) {
        magnitude.curves.push_back(LevelCurve(response, grid));
        phase.curves.push_back(PhaseCurve(response, grid));
    }
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
    for (const LevelPoint& point : MeasureStaticCurve(block, sampleRate)) {
        curve.points.emplace_back(point.inDb, point.outDb);
        unchanged.points.emplace_back(point.inDb, point.inDb);
    }
    charts.push_back({name + ": levels when settled",
                      {"input (dB of full scale)", -80.0, 6.0},
                      {"output (dB of full scale)", -80.0, 6.0},
                      {std::move(curve), std::move(unchanged)},
                      true});

    const bool isLimiter = block.typeId == kLimiterBlockTypeId;
    const LevelStep step = isLimiter ? kBurst : LevelStep{};
    Curve gain{name, {}};
    double lowest = 0.0, highest = 0.0;
    for (const GainPoint& point : MeasureStep(block, sampleRate, step)) {
        gain.points.emplace_back(point.ms, point.gainDb);
        lowest = std::min(lowest, point.gainDb);
        highest = std::max(highest, point.gainDb);
    }
    charts.push_back({name + ": " + StepTitle(step),
                      {"time (ms)", 0.0, step.lengthMs},
                      {"gain (dB)", std::max(lowest, -80.0) - 1.0, highest + 1.0},
                      {Thinned(std::move(gain))},
                      true});
}

std::vector<Chart> MakeCharts(const ChosenChain& chosen, const Options& options) {
    const ImpulseResponse measured = MeasureChain(chosen.chain, options.format, options.only - 1);
    std::vector<Response> responses = ChainResponses(measured);
    std::vector<Chart> dynamics;
    for (unsigned i = 0; i < chosen.chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& block = chosen.chain.blocks.Item(i);
        if (IsFilter(block.typeId))
            responses.push_back(Sample(MeasureBlock(block, options.format), 0, chosen.names[i]));
        if (IsDynamics(block.typeId))
            AddDynamicsCharts(block, chosen.names[i], options.format.sampleRate, dynamics);
    }
    std::vector<Chart> charts;
    AddResponseCharts(responses, options.format.sampleRate, charts);
    charts.insert(charts.end(), std::make_move_iterator(dynamics.begin()),
                  std::make_move_iterator(dynamics.end()));
    return charts;
}

void Run(const Options& options) {
    const PictureForm form = FormOfPicture(options, ".gnuplot", PictureForm::kSvg);
    if (options.only > static_cast<std::int32_t>(options.format.channels))
        throw ToolError(ExitStatus::kUsage, "--only: the input has no such channel");
    const DrawnChain drawn(options);
    const std::string script =
        PlotScript(drawn.title, MakeCharts(drawn.chosen, options), form == PictureForm::kPng);
    WriteResult(options.out,
                form == PictureForm::kScript ? script : RunProgram(kGnuplot, {"-"}, script));
}

}  // namespace

void AddPlotCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "plot", "Draw what a profile does: magnitude and phase, and the curves of its dynamics");
    const auto options = std::make_shared<Options>();
    AddPictureOptions(*command, *options,
                      "Picture to write: .svg, .png or .gnuplot [standard output, as .svg]");
    command->add_option("--only", options->only, "Feed this input channel alone, the first is 1")
        ->check(CLI::Range(1, 8));
    command->footer(
        "Everything is measured from the running graph; compressors, limiters and gates are left\n"
        "out of the chain's response and have charts of their own. Needs gnuplot, except for\n"
        ".gnuplot.\n"
        "Example: quorvel plot profiles/games.json -o games.svg");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
