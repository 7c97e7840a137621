// The compressor's vector kernel, for lanes of any width. For vector kernels alone; the rules of
// base/math/number_lanes.h on linkage hold here too.
//
// Four frames are a unit. While the envelope takes its steps through one unit, the processor can
// already work on the logarithms of the units behind it and on the exponentials of those before it:
// they wait for nothing, so they stand in the same turn of the loop.
//
//     turn t:   levels of unit t   |   envelope through unit t - 1   |   gains of unit t - 3
#pragma once

#include "base/math/exponential_lanes.h"
#include "base/math/logarithm_lanes.h"
#include "dsp/dynamics/compressor_kernels.h"
#include "dsp/dynamics/decibels.h"
#include "dsp/dynamics/frame_lanes.h"

namespace quorvel::dynamics {
namespace {

template <typename Number, int Channels>
class CompressorPass {
  public:
    // Runs the leading whole units and returns the envelope after them.
    static double Run(const CompressorRun& run) {
        CompressorPass pass(run);
        const std::int32_t units = run.frames / kUnit;
        for (std::int32_t t = 0; t < units + kGainsBehind; ++t) {
            if (t < units) pass.FindLevels(t);
            if (t >= 1 && t <= units) pass.FollowLevels(t - 1);
            if (t >= kGainsBehind) pass.Scale(t - kGainsBehind);
        }
        return pass.state[0];
    }

  private:
    using Pair = math::TwoNumbers;

    // So far behind the envelope that its last values have reached memory.
    static constexpr std::int32_t kGainsBehind = 3;
    static constexpr int kRing = 8;  // units, a power of two above kGainsBehind

    explicit CompressorPass(const CompressorRun& theRun)
        : run(theRun),
          rise{run.attack, run.attack},
          fall{run.release, run.release},
          state{run.envelope, run.envelope} {}

    std::int64_t SamplesBefore(std::int32_t unit) const {
        return std::int64_t{unit} * kUnit * (Channels > 0 ? Channels : run.channels);
    }

    // The level over the threshold of each frame: SimpleComp::LevelOver.
    void FindLevels(std::int32_t unit) {
        const Number zero{};
        const FourFloats found = UnitPeaks<Channels>(run.in + SamplesBefore(unit), run.channels);
        Unit<Number> levels = Widened<Number>(found);
        for (Number& level : levels.part) {
            const Number overDb =
                math::LogLanes(level + kDcOffset) * kDecibelsPerNeper - run.thresholdDb;
            level = (overDb < zero ? zero : overDb) + kDcOffset;
        }
        std::memcpy(ring[unit % kRing], &levels, sizeof levels);
    }

    // AttRelEnvelope::Run for each frame, in place. A mask picks the coefficient, since nobody can
    // foresee where lively input rises and falls; both lanes hold the same, which spares shuffles.
    void FollowLevels(std::int32_t unit) {
        double* const values = ring[unit % kRing];
        for (int f = 0; f < kUnit; ++f) {
            const Pair target = {values[f], values[f]};
            state = target + (target > state ? rise : fall) * (state - target);
            values[f] = state[0];
        }
    }

    // The gains, SimpleComp::GainDb as a factor, and their products.
    void Scale(std::int32_t unit) {
        Unit<Number> gains;
        std::memcpy(&gains, ring[unit % kRing], sizeof gains);
        for (Number& gain : gains.part) {
            const Number gainDb = (gain - kDcOffset) * run.slope;
            gain = math::ExpLanes(gainDb * kNepersPerDecibel);
        }
        const std::int64_t start = SamplesBefore(unit);
        ScaleUnit<Channels>(run.in + start, run.out + start, run.channels, gains);
    }

    const CompressorRun& run;
    Pair rise;
    Pair fall;
    Pair state;
    double ring[kRing][kUnit];  // levels, then the envelope
};

template <typename Number>
std::int32_t RunCompressorInLanes(CompressorRun& run) {
    switch (run.channels) {
        case 1:
            run.envelope = CompressorPass<Number, 1>::Run(run);
            break;
        case 2:
            run.envelope = CompressorPass<Number, 2>::Run(run);
            break;
        case 8:
            run.envelope = CompressorPass<Number, 8>::Run(run);
            break;
        default:
            run.envelope = CompressorPass<Number, 0>::Run(run);
    }
    return run.frames / kUnit * kUnit;
}

}  // namespace
}  // namespace quorvel::dynamics
