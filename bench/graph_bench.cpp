// The whole graph: what a games profile costs beside its blocks alone, how cost grows with the
// number of blocks, and how long building takes.
//
// Process benches restore their input from the same samples each round. `share` is the part of a
// run that the graph itself takes: (graph - blocks) / blocks.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <vector>

#include "blocks/compressor_block.h"
#include "blocks/limiter_block.h"
#include "dsp/biquad/filter_band.h"
#include "engine/audio_graph.h"
#include "engine/block_factory.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

constexpr int32_t kFrames = 480;
constexpr double kRate = 48000.0;  // Hz

GUID NumberedId(uint32_t number) {
    GUID id{};
    for (int i = 0; i < 4; ++i)
        id.Data4[4 + i] = static_cast<uint8_t>(number >> (24 - 8 * i));
    return id;
}

// Music-like: tones over a noise floor, swinging around -12 dB, both channels alike in level.
std::vector<float> MakeInput() {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> noise(-0.02f, 0.02f);
    std::vector<float> samples(2 * kFrames);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const auto t = static_cast<float>(i / 2);
        const float swell = 0.3f + 0.2f * std::sin(t * 0.013f);
        samples[i] = swell * std::sin(t * (i % 2 ? 0.05f : 0.061f)) + noise(random);
    }
    return samples;
}

std::vector<uint8_t> EqualiserRecord(uint32_t count) {
    std::vector<uint8_t> record(sizeof(count) + count * sizeof(FilterBand));
    std::memcpy(record.data(), &count, sizeof(count));
    for (uint32_t b = 0; b < count; ++b) {
        FilterBand band{};
        band.frequency = 31.25f * std::exp2(static_cast<float>(b));
        band.width = 1.41f;
        band.gainDb = b % 2 ? 4.0f : -3.0f;
        std::memcpy(record.data() + sizeof(count) + b * sizeof(band), &band, sizeof(band));
    }
    return record;
}

// Equaliser with ten bands, compressor and limiter, both at work on the input above.
std::vector<std::shared_ptr<AudioBlock>> MakeGamesBlocks() {
    const auto bands = EqualiserRecord(10);
    const CompressorParameters compressor = {-20.0f, 10, 100, 0.25f};
    const LimiterParameters limiter = {-9.0f, 2, 50};
    return {CreateBlockWithParameters(bands.data(), kPeakingEQFilterBlockTypeId, NumberedId(1)),
            CreateBlockWithParameters(&compressor, kCompressorBlockTypeId, NumberedId(2)),
            CreateBlockWithParameters(&limiter, kLimiterBlockTypeId, NumberedId(3))};
}

void LoadChain(AudioGraph& graph, const std::vector<std::shared_ptr<AudioBlock>>& blocks) {
    graph.SetUpdating(true);
    for (const auto& block : blocks)
        graph.AddBlockAndConnect(block);
    for (std::size_t i = 1; i < blocks.size(); ++i)
        graph.Link(blocks[i - 1], blocks[i]);
    graph.SetUpdating(false);
    graph.SetInputFormat(2, 3, static_cast<uint32_t>(kRate));
    graph.SetOutputFormat(2, 3, static_cast<uint32_t>(kRate));
}

void RunAlone(const std::vector<std::shared_ptr<AudioBlock>>& blocks, float* in, float* out) {
    blocks[0]->Process(in, out, kFrames);
    for (std::size_t i = 1; i < blocks.size(); ++i)
        blocks[i]->Process(out, out, kFrames);
}

// Seconds that this thread has spent computing, whatever else the machine does.
double ThreadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Graph and bare blocks take turns, so that both see the same machine.
void GamesProfile(benchmark::State& state) {
    AudioGraph graph;
    LoadChain(graph, MakeGamesBlocks());
    const auto bare = MakeGamesBlocks();
    for (const auto& block : bare)
        block->SetFormat(2, 3, static_cast<int32_t>(kRate));
    const auto input = MakeInput();
    std::vector<float> in(input.size()), out(input.size());
    double inGraph = 0.0, inBlocks = 0.0;
    for (auto _ : state) {
        std::memcpy(in.data(), input.data(), input.size() * sizeof(float));
        const double start = ThreadSeconds();
        benchmark::DoNotOptimize(graph.Process(in.data(), out.data(), kFrames));
        benchmark::ClobberMemory();
        const double middle = ThreadSeconds();
        RunAlone(bare, in.data(), out.data());
        benchmark::ClobberMemory();
        inBlocks += ThreadSeconds() - middle;
        inGraph += middle - start;
        state.SetIterationTime(middle - start);
    }
    state.counters["share"] = (inGraph - inBlocks) / inBlocks;
    state.counters["times_real_time"] =
        kFrames / kRate * static_cast<double>(state.iterations()) / inGraph;
}
BENCHMARK(GamesProfile)->UseManualTime();

// What the graph adds to a chain of blocks that do next to nothing.
void GainChain(benchmark::State& state) {
    const auto count = static_cast<uint32_t>(state.range(0));
    const float gainDb = 0.01f;
    std::vector<std::shared_ptr<AudioBlock>> blocks;
    for (uint32_t n = 1; n <= count; ++n) {
        blocks.push_back(CreateBlockWithParameters(&gainDb, kGainBlockTypeId, NumberedId(n)));
    }
    AudioGraph graph;
    LoadChain(graph, blocks);
    const auto input = MakeInput();
    std::vector<float> in(input.size()), out(input.size());
    for (auto _ : state) {
        std::memcpy(in.data(), input.data(), input.size() * sizeof(float));
        benchmark::DoNotOptimize(graph.Process(in.data(), out.data(), kFrames));
    }
    state.counters["per_block"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * count,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(GainChain)->RangeMultiplier(10)->Range(1, 1000);

// Adding, linking, ordering, planning buffers and dropping it all again.
void BuildGraph(benchmark::State& state, bool isStar) {
    const auto count = static_cast<uint32_t>(state.range(0));
    for (auto _ : state) {
        AudioGraph graph;
        graph.SetInputFormat(1, 4, 200);  // two frames a buffer: the plan counts, not the memory
        graph.SetOutputFormat(1, 4, 200);
        graph.SetUpdating(true);
        for (uint32_t n = 1; n <= count; ++n) {
            graph.AddNewBlock(kGainBlockTypeId, nullptr, 0, NumberedId(n));
        }
        for (uint32_t n = 1; n < count; ++n) {
            graph.LinkById(NumberedId(isStar ? 1 : n), NumberedId(n + 1));
        }
        graph.SetUpdating(false);
        if (!graph.IsValid()) state.SkipWithError("the graph is invalid");
    }
    state.counters["per_block"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * count,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(BuildGraph, chain, false)->RangeMultiplier(10)->Range(1000, 100000);
BENCHMARK_CAPTURE(BuildGraph, star, true)->RangeMultiplier(10)->Range(1000, 100000);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
