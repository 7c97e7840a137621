#include <algorithm>
#include <cmath>
#include <memory>

#include "tools/chain_options.h"
#include "tools/exit_status.h"
#include "tools/formatted_print.h"
#include "tools/frequency_grid.h"
#include "tools/impulse_response.h"
#include "tools/profile_difference.h"
#include "tools/profile_file.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr int kPointsPerOctave = 3;
constexpr double kAudibleDb = 0.01;  // smaller differences are rounding
constexpr double kFloorDb = -120.0;  // below it the level is silence

struct Options {
    std::string before{};
    std::string after{};
    ChainFormat format{};
};

double Level(const ImpulseResponse& response, std::uint32_t channel, double frequency) {
    return std::max(20.0 * std::log10(std::abs(response.At(channel, frequency))), kFloorDb);
}

void TellResponses(const ImpulseResponse& before, const ImpulseResponse& after) {
    std::string table;
    double largest = 0.0, place = 0.0;
    for (const double frequency : LogarithmicGrid(kPointsPerOctave, before.sampleRate)) {
        std::string row = Formatted("  %8.0f Hz", frequency);
        bool differs = false;
        for (std::uint32_t c = 0; c < before.channels; ++c) {
            const double change = Level(after, c, frequency) - Level(before, c, frequency);
            row += Formatted("  %+8.2f dB", change);
            differs |= std::fabs(change) >= kAudibleDb;
            if (std::fabs(change) > std::fabs(largest)) largest = change, place = frequency;
        }
        if (differs) table += row + "\n";
    }
    if (before.Onset() != after.Onset())
        Print("  latency %lld frames, was %lld\n", static_cast<long long>(after.Onset()),
              static_cast<long long>(before.Onset()));
    if (table.empty()) return Print("  the measured responses are the same\n");
    Print("  measured response, at most %+.2f dB at %.0f Hz; by output channel:\n", largest, place);
    WriteStandardOutput(table);
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

void CompareResponses(const NamedProfile& before, const NamedProfile& after,
                      const ChainFormat& format) {
    for (unsigned i = 0; i < after.profile.chains.Count(); ++i) {
        const QuorvelAudioBlocksChain& chain = after.profile.chains.Item(i);
        const QuorvelAudioBlocksChain* const old = FindChain(before, chain.id);
        if (!old) continue;
        Print("\nchain %u, %u channels in, %u out, %u Hz\n", chain.id, format.channels,
              format.outChannels, format.sampleRate);
        if (IsPlayable(*old, format) && IsPlayable(chain, format))
            TellResponses(MeasureChain(*old, format), MeasureChain(chain, format));
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
        WriteStandardOutput(change + "\n");
    CompareResponses(before, after, options.format);
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
