#include <cstdio>
#include <memory>

#include "authoring/check/chain_check.h"
#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/printable.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/speakers.h"
#include "authoring/host/host_session.h"
#include "authoring/render/caught_samples.h"
#include "base/channel_masks.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr std::int32_t kMostBlockFrames = 32767;
constexpr std::uint32_t kBuffersPerSecond = 100;
constexpr std::uint32_t kOutputChain = 1;
constexpr std::uint32_t kInputChain = 2;

struct Options {
    std::string profile{};
    std::string endpointProfile{};
    std::string in{};
    Output out{};
    std::string edits{};
    std::string direction = "output";
    std::string stage = "stream";
    HostOptions host{.seed = 1};
    bool allowTruncated = false;
};

void PrintLine(const std::string& line) {
    WriteStandardOutput(line + "\n");
}

void TellTime(double second, const std::string& words) {
    PrintLine(Formatted("%9.3f s  ", second) + Printable(words));
}

// The objects run what the driver has; a chain that makes no graph is better known beforehand.
void CheckChain(const std::string& path, const NamedProfile& named, std::uint32_t number) {
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        if (chain.id != number) continue;
        const std::string fault = FindChainFault(chain, named.names[i]);
        if (fault.empty()) return;
        throw InvalidInput(path + ": chain " + std::to_string(number) + ", " + fault);
    }
    throw InvalidInput(path + ": has no chain " + std::to_string(number) +
                       (number == kOutputChain ? ", the headset's" : ", the microphone's"));
}

void Warn(const HostOutcome& outcome) {
    for (std::size_t i = 0; i < outcome.caught.size(); ++i) {
        const auto& [object, counts] = outcome.caught[i];
        WarnOfReplaced(counts, i == 0 ? "the input" : "the input of " + object);
    }
    for (const ProfileEdit& edit : outcome.unmade)
        std::fprintf(stderr,
                     "quorvel: the edit at %.3f s was not made, no buffer begins there or later: "
                     "%s\n",
                     edit.atSeconds, edit.words.c_str());
}

void Report(const HostOutcome& outcome, std::uint32_t sampleRate) {
    Warn(outcome);
    Print("frames   %lld (%.3f s)\n", static_cast<long long>(outcome.frames),
          static_cast<double>(outcome.frames) / sampleRate);
    PrintLine("peak     in " + outcome.input.PeakText() + ", out " + outcome.output.PeakText());
}

void Run(Options options) {
    if (!options.endpointProfile.empty() && options.stage != "both")
        throw ToolError(ExitStatus::kUsage, "--endpoint-profile: goes with --stage both only");
    options.host.isOutput = options.direction == "output";
    options.host.hasStream = options.stage != "endpoint";
    options.host.hasEndpoint = options.stage != "stream";
    const std::uint32_t chain = options.host.isOutput ? kOutputChain : kInputChain;

    NamedProfile named;
    LoadProfile(options.profile, named);
    CheckChain(options.profile, named, chain);
    AudioReader reader(options.in, options.allowTruncated);
    if (options.host.frames == 0)
        options.host.frames = static_cast<std::int32_t>(reader.SampleRate() / kBuffersPerSecond);
    HostSession session(options.host, named);
    if (!options.endpointProfile.empty()) {
        NamedProfile endpoint;
        LoadProfile(options.endpointProfile, endpoint);
        CheckChain(options.endpointProfile, endpoint, chain);
        session.StoreEndpointProfile(endpoint.profile);
    }
    std::vector<ProfileEdit> edits;
    if (!options.edits.empty()) edits = LoadEdits(options.edits, session.Stored(), chain);
    AudioWriter writer(options.out, options.host.channels,
                       DefaultChannelMask(options.host.channels), reader.SampleRate(),
                       reader.Frames());
    const HostOutcome outcome = session.Run(reader, writer, std::move(edits), TellTime);
    if (const std::string alive = session.TakeDown(); !alive.empty())
        throw InvalidInput("left alive: " + alive);
    writer.Finish();
    Report(outcome, reader.SampleRate());
    for (const auto& [object, counts] : outcome.caught)
        RequireFinite(counts, object, DefaultChannelMask(options.host.channels),
                      reader.SampleRate());
}

}  // namespace

void AddHostCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "host",
        "Run an audio file through the processing objects, as the audio engine does.\n"
        "A simulated headset and its driver hold the profile; what the driver is told\n"
        "is printed as a time line");
    command->footer("Example: quorvel host profiles/games.json in.wav out.wav --edits edits.json");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    command->add_option("IN", options->in, "Audio file of 1 to 8 channels")->required();
    command->add_option("OUT", options->out.path, "32-bit float WAV file to write")->required();
    command
        ->add_option("--direction", options->direction,
                     "Sound for the headset or of its microphone")
        ->check(CLI::IsMember({"output", "input"}))
        ->capture_default_str();
    command
        ->add_option("--stage", options->stage,
                     "Object of the client's stream, of the endpoint behind the mix, or both in\n"
                     "a row; PROFILE is the stream's, without a stream the endpoint's")
        ->check(CLI::IsMember({"stream", "endpoint", "both"}))
        ->capture_default_str();
    command->add_option("--endpoint-profile", options->endpointProfile,
                        "Profile of the endpoint, with --stage both");
    command->add_option("--client", options->host.client,
                        "Path of the program that plays; the profile's first path when left out");
    command->add_option("--edits", options->edits,
                        "What a configuration application does meanwhile (JSON)");
    command->add_option("--channels", options->host.channels, "Output channels: 2 for headphones")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command->add_option("--frames", options->host.frames, "Frames in a buffer; 10 ms when left out")
        ->check(CLI::Range(1, kMostBlockFrames));
    command->add_option("--seed", options->host.seed, "The machine's clock, which seeds the noise")
        ->capture_default_str();
    AddForceOption(*command, options->out);
    AddTruncationOption(*command, options->allowTruncated);
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
