// The linked dynamics beside their plain definition, in blocks of 480 frames at 48 kHz.
//
// Each case stands twice, as .../plain and .../fast; their ratio within one run is the figure to
// look at. "rest": the signal stays below the threshold and the envelope has never moved.
// "stalled": the same after activity and a minute of silence. "inside": a lively signal around the
// threshold.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dsp/dynamics/linked_gain.h"
#include "dsp/dynamics/simple_comp.h"
#include "dsp/dynamics/simple_gate.h"
#include "dsp/dynamics/simple_limit.h"

namespace quorvel::dynamics {
namespace {

constexpr int32_t kFrames = 480;
constexpr int32_t kBlocks = 200;  // two seconds: too long for branch prediction to learn by heart

enum class Signal { kRest, kStalled, kInside };

// Three partials and noise under an amplitude that rises and falls; `peak` is the largest sample.
std::vector<float> Music(int32_t channels, float peak) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> noise(-0.3, 0.3);
    const auto frames = static_cast<std::size_t>(kFrames * kBlocks);
    std::vector<float> samples;
    samples.reserve(frames * static_cast<std::size_t>(channels));
    for (std::size_t f = 0; f < frames; ++f) {
        const double t = 2.0 * std::numbers::pi * static_cast<double>(f) / 48000.0;
        const double swell = 0.6 + 0.4 * std::sin(t * 5.0);
        for (int32_t c = 0; c < channels; ++c) {
            const double tone = std::sin(t * 220.0 + c) + 0.6 * std::sin(t * 554.0 + 2 * c) +
                                0.4 * std::sin(t * 1661.0 + 3 * c);
            samples.push_back(static_cast<float>(swell * (tone + noise(random))));
        }
    }
    const auto largest = std::ranges::max(samples, {}, [](float x) { return std::fabs(x); });
    for (float& x : samples)
        x *= peak / std::fabs(largest);
    return samples;
}

float FromDb(double dB) {
    return static_cast<float>(DecibelsToLinear(dB));
}

struct Compressor : SimpleComp {
    static constexpr double kThresholdDb = -20.0;
    Compressor() {
        SetSampleRate(48000.0);
        SetThreshold(kThresholdDb);
        SetRatio(0.25);
        SetAttack(5.0);
        SetRelease(100.0);
    }
};

struct Gate : SimpleGate {
    static constexpr double kThresholdDb = -20.0;
    Gate() {
        SetSampleRate(48000.0);
        SetThreshold(kThresholdDb);
        SetAttack(5.0);
        SetRelease(100.0);
    }
};

struct Limiter : SimpleComp {  // the settings of the graph's output limiter
    static constexpr double kThresholdDb = 0.0;
    Limiter() {
        SetSampleRate(48000.0);
        SetAttack(0.0);
        SetRelease(200.0);
        SetRatio(0.1);
    }
};

template <typename Engine>
void Stall(Engine& engine) {
    const std::vector<float> loud(kFrames, FromDb(Engine::kThresholdDb + 12.0));
    std::vector<float> out(kFrames, 0.0f);
    ProcessLinkedPlain(engine, loud.data(), out.data(), kFrames, 1);
    for (int i = 0; i < 60 * 48000; ++i)
        engine.ComputeGain(0.0);
}

// Out of place, from an input that nobody writes, so that every round sees the same samples.
template <typename Engine>
void RunLinked(benchmark::State& state, int32_t channels, Signal signal, bool fast) {
    const double peakDb = Engine::kThresholdDb + (signal == Signal::kInside ? 10.0 : -6.0);
    const std::vector<float> in = Music(channels, FromDb(peakDb));
    const auto blockSamples = static_cast<std::size_t>(kFrames * channels);
    std::vector<float> out(blockSamples);
    Engine engine;
    if (signal == Signal::kStalled) Stall(engine);
    std::size_t block = 0;
    for (auto _ : state) {
        const float* samples = in.data() + block * blockSamples;
        if (fast) {
            ProcessLinked(engine, samples, out.data(), kFrames, channels);
        } else {
            ProcessLinkedPlain(engine, samples, out.data(), kFrames, channels);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        block = (block + 1) % kBlocks;
    }
    state.counters["x_real_time"] =
        benchmark::Counter(0.01, benchmark::Counter::kIsIterationInvariantRate);
}

template <typename Engine>
void Register(const std::string& name) {
    constexpr std::pair<Signal, const char*> kSignals[] = {
        {Signal::kRest, "rest"}, {Signal::kStalled, "stalled"}, {Signal::kInside, "inside"}};
    for (const auto& [signal, signalName] : kSignals) {
        for (const int32_t channels : {2, 8}) {
            for (const bool fast : {false, true}) {
                const std::string full = name + "/" + signalName + "/" + std::to_string(channels) +
                                         "ch/" + (fast ? "fast" : "plain");
                benchmark::RegisterBenchmark(full.c_str(), RunLinked<Engine>, channels, signal,
                                             fast);
            }
        }
    }
}

void RunLookAhead(benchmark::State& state, int32_t channels) {
    const std::vector<float> in = Music(channels, 1.0f);
    const auto blockSamples = static_cast<std::size_t>(kFrames * channels);
    std::vector<float> out(blockSamples);
    SimpleLimit limiter;
    limiter.SetSampleRate(48000.0);
    limiter.SetThreshold(-6.0);
    limiter.SetChannelCount(static_cast<uint32_t>(channels));
    std::size_t block = 0;
    for (auto _ : state) {
        ProcessLinked(limiter, in.data() + block * blockSamples, out.data(), kFrames, channels);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        block = (block + 1) % kBlocks;
    }
}

const bool kRegistered = [] {
    Register<Compressor>("Compressor");
    Register<Gate>("Gate");
    Register<Limiter>("OutputLimiter");
    benchmark::RegisterBenchmark("LookAheadLimiter/inside/2ch", RunLookAhead, 2);
    benchmark::RegisterBenchmark("LookAheadLimiter/inside/8ch", RunLookAhead, 8);
    return true;
}();

}  // namespace
}  // namespace quorvel::dynamics

BENCHMARK_MAIN();
