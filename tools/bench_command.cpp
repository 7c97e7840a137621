#include <algorithm>
#include <memory>
#include <random>

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/json_place.h"
#include "authoring/document/printable.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/progress_bar.h"
#include "authoring/measure/thread_timer.h"
#include "authoring/render/chain_graph.h"
#include "authoring/render/observed_block.h"
#include "engine/sample_guard.h"
#include "profile/quorvel_audio_block.h"
#include "tools/chain_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr std::uint32_t kBuffersPerSecond = 100;
constexpr double kBufferUs = 1e6 / kBuffersPerSecond;
constexpr float kLevel = 0.1f;  // -20 dB
constexpr std::size_t kWarmUpBuffers = 100;

struct Options {
    std::string profile{};
    std::optional<std::uint32_t> chain{};
    ChainFormat format{};
    std::size_t buffers = 5000;
};

// What buffers took, but for those that the scheduler disturbed.
struct Times {
    std::vector<double> us{};
    std::size_t disturbed = 0;

    void Add(const TimedStretch& stretch) {
        if (stretch.IsDisturbed()) {
            ++disturbed;
        } else {
            us.push_back(stretch.clockUs);
        }
    }
};

// What a block took in every run behind the first ones.
class Stopwatch final : public BlockObserver {
  public:
    void Before() override { timer.Start(); }
    void After(const float*, std::int32_t, std::int32_t) override {
        const TimedStretch stretch = timer.Stop();
        if (runs++ >= kWarmUpBuffers) times.Add(stretch);
    }

    Times times{};

  private:
    ThreadTimer timer{};
    std::size_t runs = 0;
};

double Quantile(std::vector<double> times, double part) {
    if (times.empty()) return 0.0;
    const auto place = static_cast<std::size_t>(part * static_cast<double>(times.size() - 1));
    std::ranges::nth_element(times, times.begin() + static_cast<std::ptrdiff_t>(place));
    return times[place];
}

std::vector<float> Noise(std::size_t samples) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> anywhere(-kLevel, kLevel);
    std::vector<float> noise(samples);
    std::ranges::generate(noise, [&] { return anywhere(random); });
    return noise;
}

// Runs noise through the graph, guarded as in the processing objects.
Times TimeBuffers(AudioGraph& graph, const Options& options) {
    const std::size_t frames = options.format.sampleRate / kBuffersPerSecond;
    const std::vector<float> noise = Noise(frames * options.format.channels);
    std::vector<float> in(noise.size()), out(frames * options.format.outChannels);
    SampleGuard guard;
    ThreadTimer timer;
    Times times;
    times.us.reserve(options.buffers);
    const std::size_t total = options.buffers + kWarmUpBuffers;
    ProgressBar progress(static_cast<std::int64_t>(total));
    for (std::size_t i = 0; i < total; ++i) {
        if (i % kBuffersPerSecond == 0) progress.Show(static_cast<std::int64_t>(i));
        in = noise;
        timer.Start();
        guard.Process(graph, in.data(), out.data(), static_cast<std::int32_t>(frames));
        const TimedStretch stretch = timer.Stop();
        if (i >= kWarmUpBuffers) times.Add(stretch);
    }
    return times;
}

// To the width of a column, in characters (UTF-8).
std::string Padded(const std::string& name) {
    constexpr std::size_t kColumn = 24;
    const auto isStart = [](char unit) {
        return (static_cast<unsigned char>(unit) & 0xC0) != 0x80;
    };
    const auto length = static_cast<std::size_t>(std::ranges::count_if(name, isStart));
    return Printable(name) + std::string(length < kColumn ? kColumn - length : 0, ' ');
}

void PrintShares(const std::string& name, const Times& measured) {
    const std::vector<double>& times = measured.us;
    if (times.empty()) return WriteStandardOutput(Padded(name) + " never undisturbed\n");
    WriteStandardOutput(Padded(name) + Formatted(" %9.1f us %8.2f %% %8.2f %% %8.2f %%\n",
                                                 Quantile(times, 0.5),
                                                 Quantile(times, 0.5) / kBufferUs * 100.0,
                                                 Quantile(times, 0.999) / kBufferUs * 100.0,
                                                 Quantile(times, 1.0) / kBufferUs * 100.0));
}

// A second run with a stopwatch at every block, which the first one is not burdened with.
void TimeBlocks(const ChosenChain& chosen, const Options& options) {
    std::vector<Stopwatch> watches(chosen.chain.blocks.Count());
    Observers observers;
    for (unsigned i = 0; i < watches.size(); ++i)
        observers.emplace(chosen.chain.blocks.Item(i).id, &watches[i]);
    AudioGraph graph;
    SetUpChainGraph(graph, chosen.chain, options.format, observers);
    TimeBuffers(graph, options);
    for (const GraphNode& node : graph.Nodes()) {
        for (unsigned i = 0; i < watches.size(); ++i) {
            if (chosen.chain.blocks.Item(i).id != node.block->GetId()) continue;
            PrintShares(chosen.names[i], watches[i].times);
        }
    }
}

void Run(const Options& options) {
    NamedProfile named;
    LoadProfile(options.profile, named);
    const ChosenChain chosen = ChooseChain(named, options.profile, options.chain);
    const ChainFormat& format = options.format;
    AudioGraph graph;
    SetUpChainGraph(graph, chosen.chain, format);
    if (!graph.IsValid()) throw InvalidInput(options.profile + ": the graph cannot be built");
    const Times times = TimeBuffers(graph, options);
    Print("%zu buffers of 10 ms, noise of -20 dB, %u channels in, %u out, %u Hz\n", options.buffers,
          format.channels, format.outChannels, format.sampleRate);
    Print("%zu of them left out: the scheduler disturbed them\n", times.disturbed);
    if (!times.us.empty()) Print("%.0f times real time\n", kBufferUs / Quantile(times.us, 0.5));
    Print("\n");
    Print("%-24s %12s %10s %10s %10s\n", "share of a buffer", "median", "median", "99.9th",
          "worst");
    PrintShares("whole", times);
    TimeBlocks(chosen, options);
}

}  // namespace

void AddBenchCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("bench", "Measure what a profile costs on this machine");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    AddChainOption(*command, options->chain);
    AddFormatOptions(*command, options->format);
    command->add_option("--buffers", options->buffers, "How many buffers of 10 ms to measure")
        ->check(CLI::Range(10, 1000000))
        ->capture_default_str();
    command->footer("Example: quorvel bench profiles/games.json --channels 8");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
