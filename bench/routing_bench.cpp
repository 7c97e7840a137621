// The routing blocks on 480 frames, the wide side eight channels, beside memcpy of the same bytes.
//
// Counters, all taken in one run, each from the least time that was seen, which other work on the
// machine disturbs least:
//   best_ns    the block's time a call
//   frame_ns   the same a frame
//   vs_memcpy  the block's time over that of a memcpy that reads and writes as many bytes, in sum,
//              as the block does
//   vs_wide    the same over a memcpy of the widest buffer of the block
//   vs_plain   the time of the plain definition over the block's, where the two differ
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "blocks/bypass_block.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/gain_block.h"
#include "blocks/mixer_block.h"
#include "blocks/stereo_expander_block.h"
#include "blocks/stream_expander_block.h"
#include "dsp/routing/fold_down.h"

namespace quorvel {
namespace {

constexpr int32_t kFrames = 480;
constexpr int kCalls = 64;  // calls between two looks at the clock

// Inputs of the given widths, filled with noise, and room for the output.
class Fixture {
  public:
    explicit Fixture(const std::vector<int32_t>& widths) : buffers(widths.size()) {
        std::mt19937 random(1);
        std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            buffers[i].Grow(BufferBytes(kFrames, widths[i]));
            std::generate_n(buffers[i].data, kFrames * widths[i], [&] { return noise(random); });
            auto source = std::make_shared<AudioBlock>(GUID{});
            source->SetFormat(widths[i], 0, 48000);
            inputs.push_back({source, &buffers[i], {}});
        }
    }

    float* In() { return buffers[0].data; }

    std::vector<AudioBuffer> buffers;
    std::vector<BlockInput> inputs;
    std::vector<float> out = std::vector<float>(8 * kFrames);
};

template <typename Work>
double SecondsOf(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCalls; ++i) {
        work();
        benchmark::ClobberMemory();
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Runs the block, the two memcpys and the plain definition in turn, so that each counter compares
// times of the same stretch of the run.
void Measure(benchmark::State& state, int32_t floatsRead, int32_t floatsWritten, int32_t widest,
             const std::function<void()>& block, const std::function<void()>& plain = {}) {
    std::vector<float> from(32 * kFrames, 0.5f), to(32 * kFrames);
    const auto copy = [&](int32_t halfFloats) {
        std::memcpy(to.data(), from.data(),
                    sizeof(float) / 2 * static_cast<std::size_t>(halfFloats));
        benchmark::DoNotOptimize(to.data());
    };
    double blockTime = 1.0, sameTime = 1.0, wideTime = 1.0,
           plainTime = 1.0;  // least seconds so far
    for (auto _ : state) {
        const double seconds = SecondsOf(block);
        state.SetIterationTime(seconds / kCalls);
        blockTime = std::min(blockTime, seconds);
        sameTime =
            std::min(sameTime, SecondsOf([&] { copy((floatsRead + floatsWritten) * kFrames); }));
        wideTime = std::min(wideTime, SecondsOf([&] { copy(2 * widest * kFrames); }));
        if (plain) plainTime = std::min(plainTime, SecondsOf(plain));
    }
    state.counters["best_ns"] = 1e9 * blockTime / kCalls;
    state.counters["frame_ns"] = 1e9 * blockTime / kCalls / kFrames;
    state.counters["vs_memcpy"] = blockTime / sameTime;
    state.counters["vs_wide"] = blockTime / wideTime;
    if (plain) state.counters["vs_plain"] = plainTime / blockTime;
}

void Gain(benchmark::State& state) {
    Fixture fixture({8});
    GainBlock block(GUID{});
    block.SetFormat(8, 0x63F, 48000);
    const GainParameters parameters{-6.0f};
    block.SetParameters(&parameters);
    Measure(state, 8, 8, 8, [&] { block.Process(fixture.In(), fixture.out.data(), kFrames); });
}

void Mixer(benchmark::State& state) {
    const auto count = static_cast<int32_t>(state.range(0));
    Fixture fixture(std::vector<int32_t>(static_cast<std::size_t>(count), 8));
    MixerBlock block(GUID{});
    block.SetFormat(8, 0x63F, 48000);
    Measure(state, 8 * count, 8, 8,
            [&] { block.ProcessInputs(fixture.inputs, fixture.out.data(), kFrames); });
}

void FoldDownTo(benchmark::State& state, uint32_t mask, int32_t width, uint32_t outputWidth) {
    Fixture fixture({width});
    BypassBlock block(GUID{});
    block.SetFormat(width, mask, 48000);
    const BypassParameters parameters{outputWidth};
    block.SetParameters(&parameters);
    const FoldDown& routine = *FindFoldDown(mask, outputWidth);
    Measure(
        state, width, static_cast<int32_t>(outputWidth), width,
        [&] { block.Process(fixture.In(), fixture.out.data(), kFrames); },
        [&] {
            AudioBlock::ForEachFrame(fixture.In(), fixture.out.data(), kFrames, width,
                                     routine.outputChannels, routine.frame);
        });
}

void Extractor(benchmark::State& state) {
    Fixture fixture({8});
    ChannelExtractorBlock block(GUID{});
    block.SetFormat(8, 0x63F, 48000);
    const ChannelExtractorParameters parameters{5};
    block.SetParameters(&parameters);
    Measure(state, 8, 1, 8, [&] { block.Process(fixture.In(), fixture.out.data(), kFrames); });
}

// Inputs of equal width side by side; with `step` below the width, neighbours overlap.
void Combiner(benchmark::State& state, int32_t width, int32_t step) {
    const int32_t count = (8 - width) / step + 1;
    Fixture fixture(std::vector<int32_t>(static_cast<std::size_t>(count), width));
    std::array<int32_t, 9> record = {count};
    for (int32_t i = 0; i < count; ++i)
        record[static_cast<std::size_t>(i) + 1] = i * step;
    ChannelsCombinerBlock block(GUID{});
    block.SetParameters(record.data());
    block.SetInputsFormat(fixture.inputs, width, width, 48000);
    Measure(state, width * count, 8, 8,
            [&] { block.ProcessInputs(fixture.inputs, fixture.out.data(), kFrames); });
}

void Expander(benchmark::State& state, int32_t width, uint32_t mode, ExpandFrame expand) {
    Fixture fixture({width});
    StreamExpanderBlock block(GUID{});
    block.SetFormat(width, 0, 48000);
    const StreamExpanderParameters parameters{8, mode};
    block.SetParameters(&parameters);
    float* out = fixture.out.data();
    Measure(
        state, width, 8, 8, [&] { block.Process(fixture.In(), out, kFrames); },
        [&] { ExpandFramesPlain(expand, fixture.In(), out, kFrames, width, 8); });
}

// Twenty blocks in a graph of their own. The input is restored each call, since the graph adds its
// noise to it.
void StereoExpander(benchmark::State& state) {
    const auto width = static_cast<int32_t>(state.range(0));
    Fixture fixture({width});
    StereoExpanderBlock block(GUID{});
    block.SetFormat(width, 0, 48000);
    const FilterBand low = {110.0f, 0.71f}, high = {3200.0f, 0.71f};
    const StereoExpanderParameters parameters{-9.0f, -2.0f, -20.0f, -9.0f, -4.0f, low, high};
    block.SetParameters(&parameters);
    const std::vector<float> clean(fixture.In(), fixture.In() + width * kFrames);
    Measure(state, width, 2, width, [&] {
        std::copy(clean.begin(), clean.end(), fixture.In());
        block.Process(fixture.In(), fixture.out.data(), kFrames);
    });
}

// Manual time a call; so many iterations that a run lasts some tenths of a second.
void Timing(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Iterations(3000);
}

BENCHMARK(Gain)->Apply(Timing);
BENCHMARK(Mixer)->ArgName("inputs")->Arg(2)->Arg(4)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, 7_1_to_stereo, 0x63F, 8, 2)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, 7_1_to_mono, 0x63F, 8, 1)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, 5_1_to_stereo, 0x60F, 6, 2)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, 5_1_to_mono, 0x60F, 6, 1)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, quad_to_stereo, 0x33, 4, 2)->Apply(Timing);
BENCHMARK_CAPTURE(FoldDownTo, mono_to_stereo, 0x4, 1, 2)->Apply(Timing);
BENCHMARK(Extractor)->Apply(Timing);
BENCHMARK_CAPTURE(Combiner, 2_of_4, 4, 4)->Apply(Timing);
BENCHMARK_CAPTURE(Combiner, 4_of_2, 2, 2)->Apply(Timing);
BENCHMARK_CAPTURE(Combiner, 8_of_1, 1, 1)->Apply(Timing);
BENCHMARK_CAPTURE(Combiner, 3_of_4_overlapping, 4, 2)->Apply(Timing);
BENCHMARK_CAPTURE(Expander, 2_to_8, 2, 0, ExpandZeroFill)->Apply(Timing);
BENCHMARK_CAPTURE(Expander, 6_to_8, 6, 0, ExpandZeroFill)->Apply(Timing);
BENCHMARK_CAPTURE(Expander, mono_to_all_8, 1, 1, ExpandMonoToAll)->Apply(Timing);
BENCHMARK_CAPTURE(Expander, mono_to_pair_of_8, 1, 2, ExpandMonoToStereo)->Apply(Timing);
BENCHMARK(StereoExpander)->ArgName("channels")->Arg(2)->Arg(6)->Arg(8)->Apply(Timing);

}  // namespace
}  // namespace quorvel

BENCHMARK_MAIN();
