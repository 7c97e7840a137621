// What the sample profiles cost: the whole graph of each at 48 kHz, by input channels, alone and
// behind the guard that the processing objects have around it.
#include <algorithm>
#include <filesystem>
#include <string>

#include "authoring/document/profile_file.h"
#include "authoring/render/chain_graph.h"
#include "bench/buffers.h"
#include "engine/audio_graph.h"
#include "engine/sample_guard.h"

namespace quorvel {
namespace {

void Process(benchmark::State& bench, const std::string& path, bool isGuarded) {
    tool::NamedProfile named;
    tool::LoadProfile(path, named);
    const auto channels = static_cast<uint32_t>(bench.range(0));
    AudioGraph graph;
    tool::SetUpChainGraph(graph, named.profile.chains.Item(0), {.channels = channels});
    SampleGuard guard;
    const std::vector<float> noise = Noise(static_cast<int32_t>(channels));
    std::vector<float> in(noise.size()), out(2 * kFrames);
    for (auto _ : bench) {
        in = noise;
        if (isGuarded) {
            guard.Process(graph, in.data(), out.data(), kFrames);
        } else {
            graph.Process(in.data(), out.data(), kFrames);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    Report(bench);
}

void RegisterAll() {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(QUORVEL_PROFILES))
        if (entry.path().string().find(".schema.") == std::string::npos)
            paths.push_back(entry.path());
    std::ranges::sort(paths);
    for (const auto& path : paths) {
        for (const bool isGuarded : {false, true}) {
            const std::string name = path.stem().string() + (isGuarded ? "/guarded" : "");
            benchmark::RegisterBenchmark(name.c_str(), Process, path.string(), isGuarded)
                ->Arg(1)
                ->Arg(2)
                ->Arg(6)
                ->Arg(8);
        }
    }
}

}  // namespace
}  // namespace quorvel

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    quorvel::RegisterAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
