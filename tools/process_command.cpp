#include <cmath>
#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/speakers.h"
#include "authoring/render/caught_samples.h"
#include "authoring/render/chain_graph.h"
#include "authoring/render/chain_renderer.h"
#include "authoring/render/taps.h"
#include "base/channel_masks.h"
#include "platform/random.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr std::int32_t kMostBlockFrames = 65536;
constexpr std::uint32_t kLongestHoldMs = 3600000;

// The state of the generator on a real-time thread, which nobody has seeded.
constexpr std::uint32_t kFreshThreadSeed = 1;

struct Options {
    std::string profile{};
    std::string in{};
    Output out{};
    std::optional<std::uint32_t> chain{};
    std::uint32_t channels = 2;
    std::int32_t frames = 480;
    std::uint32_t holdMs = 0;
    bool noise = false;
    std::uint32_t seed = 1;
    std::vector<std::string> taps{};
    bool allowTruncated = false;
};

using Taps = std::vector<std::unique_ptr<Tap>>;

void SetUpGraph(AudioGraph& graph, const Options& options, const AudioReader& reader,
                const QuorvelAudioBlocksChain& chain, const Taps& taps) {
    Observers observers;
    for (const auto& tap : taps)
        observers.emplace(tap->blockId, tap.get());
    const ChainFormat format{.channels = reader.Channels(),
                             .mask = reader.Mask(),
                             .outChannels = options.channels,
                             .sampleRate = reader.SampleRate()};
    platform::SeedRand(options.seed);
    SetUpChainGraph(graph, chain, format, observers);
    graph.SetNoiseEnabled(options.noise);
    graph.SetChannelDetectionHold(options.holdMs);
    platform::SeedRand(kFreshThreadSeed);
    if (!graph.IsValid()) throw InvalidInput(options.profile + ": the graph cannot be built");
}

void Report(const RenderOutcome& outcome, double rate) {
    WarnOfReplaced(outcome.caught, "the input");
    const double duration = static_cast<double>(outcome.frames) / rate;
    Print("frames   %lld (%.3f s)\n", static_cast<long long>(outcome.frames), duration);
    Print("peak     in %s, out %s\n", outcome.input.PeakText().c_str(),
          outcome.output.PeakText().c_str());
    Print("speed    %.0f times real time (%.3f s)\n", duration / outcome.seconds, outcome.seconds);
}

void Run(const Options& options) {
    NamedProfile named;
    LoadProfile(options.profile, named);
    const ChosenChain chosen = ChooseChain(named, options.profile, options.chain);
    const Taps taps = MakeTaps(options.taps, chosen, options.out.mayReplace);
    AudioReader reader(options.in, options.allowTruncated);
    AudioGraph graph;
    SetUpGraph(graph, options, reader, chosen.chain, taps);
    for (const auto& tap : taps)
        tap->Open(graph, reader.Frames());
    const std::uint32_t outMask = DefaultChannelMask(options.channels);
    AudioWriter writer(options.out, options.channels, outMask, reader.SampleRate(),
                       reader.Frames());
    const double rate = reader.SampleRate();
    Print("input    %u channels (%s), %u Hz\n", reader.Channels(),
          SpeakerNames(reader.Mask()).c_str(), reader.SampleRate());
    Print("output   %u channels (%s)\n", options.channels, SpeakerNames(outMask).c_str());
    const auto tellActivity = [&](std::int64_t frame, std::uint32_t mask) {
        Print("active   %9.3f s  %s\n", static_cast<double>(frame) / rate,
              SpeakerNames(mask).c_str());
    };
    const auto writeTaps = [&](std::int64_t frames) {
        for (const auto& tap : taps)
            tap->Write(frames);
    };
    const RenderOutcome outcome =
        Render(graph, reader, writer, options.frames, tellActivity, writeTaps);
    for (const auto& tap : taps)
        tap->Finish();
    Report(outcome, rate);
    RequireFinite(outcome.caught, options.profile, outMask, reader.SampleRate());
}

}  // namespace

void AddProcessCommand(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("process", "Run an audio file through one chain of a profile");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    command->add_option("IN", options->in, "Audio file of 1 to 8 channels")->required();
    command->add_option("OUT", options->out.path, "32-bit float WAV file to write")->required();
    AddChainOption(*command, options->chain);
    command->add_option("--channels", options->channels, "Output channels: 2 for headphones")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command->add_option("--frames", options->frames, "Frames in a buffer")
        ->check(CLI::Range(1, kMostBlockFrames))
        ->capture_default_str();
    command
        ->add_option("--hold-ms", options->holdMs,
                     "Process as many of more than 2 input channels as carry signal, narrower\n"
                     "after this many milliseconds; 0 processes all of them")
        ->check(CLI::Range(0u, kLongestHoldMs))
        ->capture_default_str();
    command->add_flag("--noise", options->noise, "Add the driver's inaudible input noise");
    command->add_option("--seed", options->seed, "Seed of the noise")->capture_default_str();
    command
        ->add_option("--tap", options->taps,
                     "BLOCK=FILE: also write the signal behind a block, by name or id; repeatable")
        ->type_name("BLOCK=FILE");
    AddForceOption(*command, options->out);
    AddTruncationOption(*command, options->allowTruncated);
    command->footer(
        "Example: quorvel process profiles/games.json in.wav out.wav --tap equaliser=eq.wav");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
