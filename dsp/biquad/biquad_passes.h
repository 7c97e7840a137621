// Cutting a run into passes of the vector pipeline. For the vector kernels alone; the rules of
// dsp/biquad/biquad_lanes.h on linkage hold here too.
#pragma once

#include "dsp/biquad/biquad_pipeline.h"

namespace quorvel {
namespace {

// More would not fit into sixteen registers and gain nothing.
constexpr int kMostWaves = 3;

// A pass must at least fill the pipeline once.
template <typename Vector>
constexpr int kFewestFrames = kSkew* kMostWaves* static_cast<int>(sizeof(Vector) / sizeof(float));

// Runs all bands of the first `Channels` channels, in passes of about equal size. Every pass after
// the first one works in place.
template <typename Vector, int Channels>
void RunGroup(BiquadRun run) {
    constexpr int kStagesPerWave = BiquadPass<Vector, Channels, 1>::kStagesPerWave;
    const int waves = (run.bands - 1) / kStagesPerWave + 1;
    const int passes = (waves - 1) / kMostWaves + 1;
    const int stagesPerPass = ((waves - 1) / passes + 1) * kStagesPerWave;
    for (int band = 0; band < run.bands;) {
        const int left = run.bands - band;
        const int stages = left < stagesPerPass ? left : stagesPerPass;
        if (stages > 2 * kStagesPerWave)
            BiquadPass<Vector, Channels, 3>::Run(run, band, stages);
        else if (stages > kStagesPerWave)
            BiquadPass<Vector, Channels, 2>::Run(run, band, stages);
        else
            BiquadPass<Vector, Channels, 1>::Run(run, band, stages);
        band += stages;
        run.in = run.out;
    }
}

// Runs the first `channels` channels (1 to `Most`) of `run`.
template <typename Vector, int Most>
void RunGroupOf(int channels, const BiquadRun& run) {
    if constexpr (Most > 1) {
        if (channels < Most) return RunGroupOf<Vector, Most - 1>(channels, run);
    }
    RunGroup<Vector, Most>(run);
}

bool SkipsASection(const BiquadRun& run) {
    const std::ptrdiff_t count = std::ptrdiff_t{run.channels} * run.bands;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const FilterBand& band = run.sections[i].band;
        if (band.width == 0.0f || band.frequency == 0.0f) return true;
    }
    return false;
}

// The whole run, a vector of channels at a time. It has at least kFewestFrames<Vector> frames.
template <typename Vector>
void RunInVectors(const BiquadRun& run) {
    if (SkipsASection(run)) return RunBiquadsPlain(run);
    constexpr int kLanes = sizeof(Vector) / sizeof(float);
    for (int c = 0; c < run.channels; c += kLanes) {
        const int left = run.channels - c;
        BiquadRun group = run;
        group.sections += std::ptrdiff_t{c} * run.bands;
        group.in += c;
        group.out += c;
        RunGroupOf<Vector, kLanes>(left < kLanes ? left : kLanes, group);
    }
}

}  // namespace
}  // namespace quorvel
