#include <algorithm>
#include <cstdio>
#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/file_bytes.h"
#include "authoring/document/speakers.h"
#include "authoring/measure/ear_differences.h"
#include "authoring/render/audio_reader.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr std::uint32_t kBuffersPerSecond = 100;

// A channel is alone in a buffer when it is louder than -60 dB and the others together are 20 dB
// below it.
constexpr double kLeastPower = 1e-6;
constexpr double kOthersShare = 0.01;

struct Position {
    std::uint32_t speaker;
    const char* place;
};
constexpr Position kPositions[] = {{0x1, "30 left"}, {0x2, "30 right"},  {0x4, "0"},
                                   {0x8, "none"},    {0x10, "150 left"}, {0x20, "150 right"},
                                   {0x100, "180"},   {0x200, "90 left"}, {0x400, "90 right"}};

const char* PlaceOf(std::uint32_t speaker) {
    const auto* row = std::ranges::find(kPositions, speaker, &Position::speaker);
    return row == std::end(kPositions) ? "?" : row->place;
}

// The channel that is alone in the frames; `channels` when none is.
std::size_t LoneChannel(std::span<const float> frames, std::size_t channels) {
    std::vector<double> powers(channels);
    for (std::size_t i = 0; i < frames.size(); ++i)
        powers[i % channels] += double{frames[i]} * frames[i];
    double sum = 0.0;
    for (const double power : powers)
        sum += power;
    const auto loudest = std::ranges::max_element(powers);
    const double least = kLeastPower * static_cast<double>(frames.size() / channels);
    const bool isAlone = *loudest > least && sum - *loudest < kOthersShare * *loudest;
    return isAlone ? static_cast<std::size_t>(loudest - powers.begin()) : channels;
}

void Compare(AudioReader& in, AudioReader& out, EarDifferences& differences) {
    const std::size_t channels = in.Channels();
    const std::int64_t count = in.SampleRate() / kBuffersPerSecond;
    std::vector<float> spoken(static_cast<std::size_t>(count) * channels);
    std::vector<float> heard(static_cast<std::size_t>(count) * 2);
    for (;;) {
        const std::int64_t frames =
            std::min(in.Read(spoken.data(), count), out.Read(heard.data(), count));
        if (frames == 0) return;
        const auto size = static_cast<std::size_t>(frames);
        differences.Add(std::span(heard).first(size * 2),
                        LoneChannel(std::span(spoken).first(size * channels), channels));
    }
}

void Print(std::uint32_t speaker, const EarDifference& difference) {
    char line[128];
    const std::string name = SpeakerNames(speaker);
    if (difference.seconds == 0.0) {
        std::snprintf(line, sizeof(line), "%-7s  %-9s  never\n", name.c_str(), PlaceOf(speaker));
    } else {
        std::snprintf(line, sizeof(line), "%-7s  %-9s  %5.2f s  %+12.1f dB  %+13.0f us\n",
                      name.c_str(), PlaceOf(speaker), difference.seconds, difference.levelDb,
                      difference.timeUs);
    }
    WriteStandardOutput(line);
}

void Run(const std::string& inPath, const std::string& outPath, bool allowTruncated) {
    AudioReader in(inPath, allowTruncated), out(outPath, allowTruncated);
    if (out.Channels() != 2) throw InvalidInput(outPath + ": must have two channels");
    if (in.SampleRate() != out.SampleRate())
        throw InvalidInput(outPath + ": has another sample rate than " + inPath);
    EarDifferences differences(out.SampleRate(), in.Channels());
    Compare(in, out, differences);
    WriteStandardOutput("speaker  azimuth    alone    left ear louder  left ear earlier\n");
    std::uint32_t speakers = in.Mask();
    for (std::size_t c = 0; c < in.Channels(); ++c, speakers &= speakers - 1)
        Print(speakers & (0u - speakers), differences.Result(c));
}

}  // namespace

void AddEarsCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "ears", "Compare what the two ears hear of each channel, where it sounds alone");
    const auto in = std::make_shared<std::string>(), out = std::make_shared<std::string>();
    command->add_option("IN", *in, "Audio file of 1 to 8 channels")->required();
    command->add_option("OUT", *out, "What became of it for headphones, two channels")->required();
    const auto allowTruncated = std::make_shared<bool>(false);
    AddTruncationOption(*command, *allowTruncated);
    command->callback([in, out, allowTruncated] { Run(*in, *out, *allowTruncated); });
    command->footer("Example: quorvel ears surround.wav headphones.wav");
}

}  // namespace quorvel::tool
