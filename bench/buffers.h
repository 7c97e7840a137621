// What the benchmarks of running sound share: buffers of 10 ms at 48 kHz, and how they report.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace quorvel {

inline constexpr int32_t kFrames = 480;
inline constexpr double kSampleRate = 48000.0;

// One buffer of uniform noise of full scale, always the same.
inline std::vector<float> Noise(int32_t channels) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> anywhere(-1.0f, 1.0f);
    std::vector<float> samples(static_cast<std::size_t>(kFrames * channels));
    for (float& sample : samples)
        sample = anywhere(random);
    return samples;
}

// Seconds a frame, and the share of real time, of a run that takes one buffer an iteration.
inline void Report(benchmark::State& bench) {
    const double frames = static_cast<double>(bench.iterations()) * kFrames;
    using benchmark::Counter;
    bench.counters["s/frame"] = Counter(frames, Counter::kIsRate | Counter::kInvert);
    bench.counters["share_of_real_time"] =
        Counter(frames / kSampleRate, Counter::kIsRate | Counter::kInvert);
}

}  // namespace quorvel
