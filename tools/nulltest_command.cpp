#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/profile_file.h"
#include "authoring/measure/response_measurement.h"
#include "authoring/measure/sound_difference.h"
#include "authoring/render/audio_reader.h"
#include "authoring/render/caught_samples.h"
#include "authoring/render/chain_graph.h"
#include "authoring/render/sample_meter.h"
#include "base/channel_masks.h"
#include "engine/sample_guard.h"
#include "platform/random.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr std::int32_t kBlockFrames = 480;
constexpr double kMsPerSecond = 1000.0;
constexpr std::uint32_t kSeed = 1;  // of blocks that add noise: alike in both runs

struct Options {
    std::string first{};
    std::string second{};
    std::string input{};
    std::optional<std::uint32_t> chain{};
    std::uint32_t channels = 2;
    double toleranceDb = -144.0;
    double mostShiftMs = 50.0;
    bool allowTruncated = false;
};

double Decibels(double amplitude) {
    return 20.0 * std::log10(amplitude);
}

SoundSamples ReadSound(const std::string& path, const Options& options) {
    AudioReader reader(path, options.allowTruncated);
    SoundSamples sound{reader.Channels(), reader.Mask(), reader.SampleRate(), {}};
    std::vector<float> piece(std::size_t{65536} * sound.channels);
    for (std::int64_t frames = 1; frames > 0;) {
        frames = reader.Read(piece.data(), 65536);
        const auto samples = static_cast<std::ptrdiff_t>(frames) * sound.channels;
        sound.samples.insert(sound.samples.end(), piece.begin(), piece.begin() + samples);
    }
    return sound;
}

struct Pair {
    SoundSamples first{};
    SoundSamples second{};
    std::int64_t shift = 0;  // frames by which the second one is later
};

// What a profile makes of the sound, and how many frames later.
struct Rendered {
    SoundSamples sound{};
    std::int64_t latency = 0;
};

// As `process` does it without noise.
Rendered RunProfile(const std::string& path, SoundSamples in, const Options& options) {
    NamedProfile named;
    LoadProfile(path, named);
    const ChosenChain chosen = ChooseChain(named, path, options.chain);
    const ChainFormat format{.channels = in.channels,
                             .mask = in.mask,
                             .outChannels = options.channels,
                             .sampleRate = in.sampleRate};
    AudioGraph graph;
    SampleGuard guard;
    platform::SeedRand(kSeed);
    SetUpChainGraph(graph, chosen.chain, format);
    SoundSamples out{options.channels, 0, in.sampleRate, {}};
    out.samples.resize(static_cast<std::size_t>(in.Frames()) * out.channels);
    for (std::int64_t f = 0; f < in.Frames(); f += kBlockFrames) {
        const auto count =
            static_cast<std::int32_t>(std::min<std::int64_t>(kBlockFrames, in.Frames() - f));
        float* const to = out.samples.data() + f * out.channels;
        if (guard.Process(graph, in.samples.data() + f * in.channels, to, count) == 0)
            std::fill_n(to, std::size_t(count) * out.channels, 0.0f);
    }
    RequireFinite(guard.Caught(), path, DefaultChannelMask(out.channels), out.sampleRate);
    const std::int64_t onset = MeasureLatency(chosen.chain, format);
    return {std::move(out), std::max<std::int64_t>(onset, 0)};
}

Pair CompareProfiles(const Options& options) {
    const SoundSamples in = ReadSound(options.input, options);
    Rendered first = RunProfile(options.first, in, options);
    Rendered second = RunProfile(options.second, in, options);
    const std::int64_t shift = second.latency - first.latency;
    return {std::move(first.sound), std::move(second.sound), shift};
}

Pair CompareFiles(const Options& options) {
    Pair pair{ReadSound(options.first, options), ReadSound(options.second, options)};
    const SoundSamples &first = pair.first, &second = pair.second;
    if (first.channels != second.channels || first.sampleRate != second.sampleRate)
        throw InvalidInput("the sounds have different widths or sample rates");
    const double most = options.mostShiftMs / kMsPerSecond * first.sampleRate;
    pair.shift = FindShift(first, second, static_cast<std::int64_t>(most));
    return pair;
}

void TellUnpaired(const char* which, std::int64_t frames) {
    if (frames > 0)
        Print("unpaired  %lld frames of the %s have no partner, and are not silent\n",
              static_cast<long long>(frames), which);
}

void Tell(const SoundDifference& difference, double rate) {
    Print("compared  %lld frames (%.3f s), the second %lld frames (%.3f ms) later\n",
          static_cast<long long>(difference.frames), static_cast<double>(difference.frames) / rate,
          static_cast<long long>(difference.shift),
          static_cast<double>(difference.shift) * kMsPerSecond / rate);
    TellUnpaired("first", difference.unpairedFirst);
    TellUnpaired("second", difference.unpairedSecond);
    for (std::size_t c = 0; c < difference.channels.size(); ++c) {
        Print("channel %zu residual peak %8.2f dB, rms %8.2f dB\n", c + 1,
              Decibels(difference.channels[c].peak), Decibels(difference.channels[c].rms));
    }
    if (difference.firstFrame < 0) return WriteStandardOutput("no difference\n");
    Print("first     difference in frame %lld (%.6f s)\n",
          static_cast<long long>(difference.firstFrame),
          static_cast<double>(difference.firstFrame) / rate);
    Print("worst     10 ms from frame %lld (%.3f s), rms %.2f dB\n",
          static_cast<long long>(difference.worstFrame),
          static_cast<double>(difference.worstFrame) / rate, Decibels(difference.worstRms));
}

void Run(const Options& options) {
    const auto [first, second, shift] =
        options.input.empty() ? CompareFiles(options) : CompareProfiles(options);
    const SoundDifference difference = Compare(first, second, shift);
    if (difference.frames == 0) throw InvalidInput("there is nothing that could be compared");
    Tell(difference, first.sampleRate);
    const double peak = std::ranges::max(difference.channels, {}, &ChannelDifference::peak).peak;
    if (Decibels(peak) > options.toleranceDb) {
        throw InvalidInput(Formatted("the residual of %.2f dB is above %.2f dB", Decibels(peak),
                                     options.toleranceDb));
    }
    const std::int64_t longer = second.Frames() - first.Frames();
    if (longer != 0 && longer != shift)
        throw InvalidInput(Formatted("the second has %lld frames, the first %lld",
                                     static_cast<long long>(second.Frames()),
                                     static_cast<long long>(first.Frames())));
}

}  // namespace

void AddNulltestCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "nulltest", "Subtract two sounds, or what two profiles make of one, and tell what is left");
    const auto options = std::make_shared<Options>();
    command->add_option("A", options->first, "Audio file, or a profile with --input")->required();
    command->add_option("B", options->second, "The other one")->required();
    CLI::Option* const input =
        command->add_option("--input", options->input, "Audio file that both profiles process");
    AddChainOption(*command, options->chain)->needs(input);
    command->add_option("--channels", options->channels, "Output channels of the profiles")
        ->needs(input)
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command
        ->add_option("--tolerance", options->toleranceDb,
                     "Peak in dB of full scale above which the exit status is 1")
        ->check([](const std::string& text) {
            const bool isNumber = text.find_first_of("nN") == std::string::npos;
            return isNumber ? std::string() : "must be a number of dB";
        })
        ->capture_default_str();
    command
        ->add_option("--most-shift-ms", options->mostShiftMs,
                     "How far to look for the shift that aligns two files")
        ->check(CLI::Range(0.0, 200.0))
        ->capture_default_str();
    AddTruncationOption(*command, options->allowTruncated);
    command->footer("Example: quorvel nulltest old.json new.json --input in.wav --tolerance -90");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
