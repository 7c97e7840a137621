// One shape of the filter bank to be timed: a peaking equaliser over a block of noise.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "dsp/biquad/biquad_bank.h"

namespace quorvel {

class BiquadCase {
  public:
    static constexpr int32_t kFrames = 480;  // 10 ms at 48 kHz

    BiquadCase(int32_t channelCount, int32_t bandCount) : channels(channelCount) {
        std::minstd_rand random(1);
        std::uniform_real_distribution<float> sample(-1.0f, 1.0f);
        in.resize(static_cast<std::size_t>(kFrames) * static_cast<std::size_t>(channels));
        std::generate(in.begin(), in.end(), [&] { return sample(random); });
        out.resize(in.size());
        std::vector<FilterBand> bands(static_cast<std::size_t>(bandCount));
        float frequency = 40.0f;
        for (FilterBand& band : bands) {
            band = {frequency, 1.4f, BandwidthMode::Q, 6.0f * sample(random)};
            frequency *= 1.35f;
        }
        bank.sampleRate = 48000;
        bank.Configure(channels, bandCount, FilterType::PeakingEQ, bands.data());
    }

    // Filters the same input anew; the filters' past goes on.
    void Run(BiquadKernel kernel) {
        bank.kernel = kernel;
        bank.Process(in.data(), out.data(), kFrames, channels);
        asm volatile("" : : "r"(out.data()) : "memory");  // the result counts as used
    }

    // Seconds of the fastest of many runs: what the machine can do when nothing else disturbs.
    double BestSeconds(BiquadKernel kernel) {
        using Clock = std::chrono::steady_clock;
        double best = 1.0;
        for (int round = 0; round < 200; ++round) {
            const auto start = Clock::now();
            for (int i = 0; i < kRunsPerRound; ++i)
                Run(kernel);
            const std::chrono::duration<double> took = Clock::now() - start;
            best = std::min(best, took.count() / kRunsPerRound);
        }
        return best;
    }

  private:
    static constexpr int kRunsPerRound = 4;

    int32_t channels;
    std::vector<float> in;
    std::vector<float> out;
    BiquadBank bank;
};

}  // namespace quorvel
