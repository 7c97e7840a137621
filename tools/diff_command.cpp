#include <algorithm>
#include <cmath>
#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/printable.h"
#include "authoring/document/profile_difference.h"
#include "authoring/document/profile_file.h"
#include "authoring/measure/frequency_grid.h"
#include "authoring/measure/response_measurement.h"
#include "tools/chain_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr int kPointsPerOctave = 3;
constexpr double kAudibleDb = 0.01;    // smaller differences are rounding
constexpr double kAudiblePart = 2e-3;  // of the response, of a difference in phase

struct Options {
    std::string before{};
    std::string after{};
    ChainFormat format{};
};

// What has changed from one response to the other.
struct Change {
    double largestDb = 0.0;  // the one that is furthest from 0
    double frequency = 0.0;  // Hz, where it is
    bool turns = false;      // the phase has changed where the level has not
    std::string table{};     // a row for each frequency where something changes audibly
};

Change CompareResponses(const MeasuredResponse& before, const MeasuredResponse& after) {
    Change change;
    for (std::size_t i = 0; i < before.frequencies.size(); ++i) {
        const double frequency = before.frequencies[i];
        std::string row = Formatted("  %8.0f Hz", frequency);
        bool differs = false;
        for (std::uint32_t c = 0; c < before.channels; ++c) {
            const double changeDb = after.LevelDb(i, c) - before.LevelDb(i, c);
            row += Formatted("  %+8.2f dB", changeDb);
            differs |= std::fabs(changeDb) >= kAudibleDb;
            if (std::fabs(changeDb) > std::fabs(change.largestDb) + kAudibleDb)
                change.largestDb = changeDb, change.frequency = frequency;
            const double distance = std::abs(after.At(i, c) - before.At(i, c));
            change.turns |= distance > kAudiblePart * std::abs(before.At(i, c));
        }
        if (differs) change.table += row + "\n";
    }
    return change;
}

// Each input channel by itself: what one does may hide what another does.
void TellResponses(const QuorvelAudioBlocksChain& before, const QuorvelAudioBlocksChain& after,
                   const ChainFormat& format) {
    std::vector<double> grid = LogarithmicGrid(kPointsPerOctave, format.sampleRate);
    AddBandFrequencies(before, grid);
    AddBandFrequencies(after, grid);
    bool areSame = true;
    for (std::uint32_t input = 0; input < format.channels; ++input) {
        const auto only = static_cast<std::int32_t>(input);
        const MeasuredResponse old = MeasureChain(before, format, grid, only);
        const MeasuredResponse now = MeasureChain(after, format, grid, only);
        if (input == 0 && now.latency != old.latency) {
            areSame = false;
            Print("  latency %lld frames, was %lld\n", static_cast<long long>(now.latency),
                  static_cast<long long>(old.latency));
        }
        const Change change = CompareResponses(old, now);
        if (change.table.empty() && !change.turns) continue;
        areSame = false;
        if (change.table.empty()) {
            Print("  input %u: the same levels, other phases\n", input + 1);
            continue;
        }
        Print("  input %u, at most %+.2f dB at %.0f Hz; by output channel:\n", input + 1,
              change.largestDb, change.frequency);
        WriteStandardOutput(change.table);
    }
    if (areSame) Print("  the measured responses are the same\n");
}

// What cannot be measured is told, and the other chains go on.
void TryResponses(const QuorvelAudioBlocksChain& before, const QuorvelAudioBlocksChain& after,
                  const ChainFormat& format) {
    try {
        TellResponses(before, after, format);
    } catch (const ToolError& error) {
        WriteStandardOutput(std::string("  not measured: ") + error.what() + "\n");
    }
}

const QuorvelAudioBlocksChain* FindChain(const NamedProfile& named, std::uint32_t number) {
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
        if (named.profile.chains.Item(i).id == number) return &named.profile.chains.Item(i);
    return nullptr;
}

bool IsPlayable(const QuorvelAudioBlocksChain& chain, const ChainFormat& format) {
    AudioGraph graph;
    SetUpChainGraph(graph, chain, format);
    return graph.IsValid();
}

void CompareChains(const NamedProfile& before, const NamedProfile& after,
                   const ChainFormat& format) {
    for (unsigned i = 0; i < after.profile.chains.Count(); ++i) {
        const QuorvelAudioBlocksChain& chain = after.profile.chains.Item(i);
        const QuorvelAudioBlocksChain* const old = FindChain(before, chain.id);
        if (!old) continue;
        Print("\nchain %u, %u channels in, %u out, %u Hz\n", chain.id, format.channels,
              format.outChannels, format.sampleRate);
        if (IsPlayable(*old, format) && IsPlayable(chain, format))
            TryResponses(*old, chain, format);
        else
            Print("  nothing to measure: a graph cannot be built\n");
    }
}

void Run(const Options& options) {
    NamedProfile before, after;
    LoadProfile(options.before, before);
    LoadProfile(options.after, after);
    const std::vector<std::string> changes = ProfileChanges(before, after);
    if (changes.empty()) return Print("equal\n");
    for (const std::string& change : changes)
        WriteStandardOutput(Printable(change) + "\n");
    CompareChains(before, after, options.format);
    throw InvalidInput("the profiles differ");
}

}  // namespace

void AddDiffCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "diff", "Tell what has changed from one profile to another, in words and in dB");
    const auto options = std::make_shared<Options>();
    command->add_option("A", options->before, "Profile, JSON or text form")->required();
    command->add_option("B", options->after, "The changed one")->required();
    AddFormatOptions(*command, options->format);
    command->footer(
        "Exit status 0 when both say the same, 1 when not. Compressors, limiters and gates\n"
        "are left out of the measured responses.\n"
        "Example: quorvel diff old.json new.json --channels 8");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
