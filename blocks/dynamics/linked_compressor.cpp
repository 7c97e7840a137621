// The fast path of the compressor.
//
// What is certain before it is calculated:
// - A key well below the threshold is 0 dB over it: no logarithm.
// - An exponent near 0 gives a gain so near to 1 that no float moves: no exponential.
// - An envelope that stays where it is under 0 dB over the threshold will stay there until a key
//   reaches the threshold: its gain holds for all frames up to that key. After activity such an
//   envelope can stall some units in the last place above where it began.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "blocks/dynamics/linked_gain.h"
#include "blocks/dynamics/sample_kernels.h"
#include "blocks/dynamics/simple_comp.h"

namespace quorvel::dynamics {
namespace {

constexpr int32_t kStretch = 128;  // frames worked on at a time; a few KiB of stack
using Stretch = std::array<double, kStretch>;

// A key up to which LevelOver is certainly kDcOffset, so that nobody need ask the logarithm. The
// logarithm and this exponential are each a few units of 2^-53 from the truth, times at most 800
// (the largest exponent); a margin of 2^-30 is a thousand times that. NaN if the threshold is.
float QuietKey(double thresholdDb) {
    constexpr double kMargin = 1.0 - 1.0 / (1 << 30);
    constexpr double kLargest = std::numeric_limits<float>::max();
    const double key = DecibelsToLinear(thresholdDb) * kMargin - kDcOffset;
    return FloatNotAbove(key > kLargest ? kLargest : key);
}

// AttRelEnvelope::Run without a branch: nobody can foresee where lively input rises and falls, so
// a mask picks the coefficient. Both lanes hold the same, which spares shuffles between steps.
struct PairedFollower {
    Pair rise;
    Pair fall;
    Pair state;

    double Run(double input) {
        const Pair target = Both(input);
        state = target + (target > state ? rise : fall) * (state - target);
        return state[0];
    }
};

bool IsAtRest(const SimpleComp& compressor) {
    double next = compressor.Envelope();
    compressor.Run(kDcOffset, next);
    return next == compressor.Envelope();
}

// ComputeGain's last step, or 1.0 when that would move no float.
double CurrentGain(double gainDb) {
    constexpr double kCertain = kUnityTolerance / 2.0;
    const double exponent = gainDb * kNepersPerDecibel;
    return std::fabs(exponent) <= kCertain ? 1.0 : std::exp(exponent);
}

// Turns peaks into levels over the threshold. The loud frames are listed first, without a branch
// on each, so that the logarithms run back to back.
void FindLevels(const SimpleComp& compressor, double quietKey, int32_t frames, Stretch& levels) {
    std::array<int32_t, kStretch> loud;
    int32_t count = 0;
    for (int32_t f = 0; f < frames; ++f) {
        loud[static_cast<std::size_t>(count)] = f;
        count += levels[static_cast<std::size_t>(f)] <= quietKey ? 0 : 1;
    }
    Stretch over;
    for (int32_t i = 0; i < count; ++i) {
        const auto f = static_cast<std::size_t>(loud[static_cast<std::size_t>(i)]);
        over[static_cast<std::size_t>(i)] = compressor.LevelOver(levels[f]);
    }
    std::fill_n(levels.begin(), frames, kDcOffset);
    for (int32_t i = 0; i < count; ++i)
        levels[static_cast<std::size_t>(loud[static_cast<std::size_t>(i)])] =
            over[static_cast<std::size_t>(i)];
}

void RunStretch(SimpleComp& compressor, double quietKey, const float* in, float* out,
                int32_t frames, int32_t channels) {
    Stretch levels;
    FindPeaks(in, frames, channels, levels.data());
    FindLevels(compressor, quietKey, frames, levels);
    const double slope = compressor.GetRatio() - 1.0;
    PairedFollower follower{Both(compressor.AttackCoefficient()),
                            Both(compressor.ReleaseCoefficient()), Both(compressor.Envelope())};
    WithWidth(channels, [&](auto width) {
        for (std::size_t f = 0; f < static_cast<std::size_t>(frames);
             ++f, in += width, out += width) {
            const double envelope = follower.Run(levels[f]);
            ScaleFrame(in, out, width, Both(CurrentGain(slope * (envelope - kDcOffset))));
        }
    });
    compressor.SetEnvelope(follower.state[0]);
}

}  // namespace

void ProcessLinked(SimpleComp& compressor, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME {
    if (channels < 0) return;
    const float quietKey = QuietKey(compressor.GetThreshold());
    for (int32_t done = 0; done < frames;) {
        const float* from = in + int64_t{done} * channels;
        float* to = out + int64_t{done} * channels;
        int32_t count = 0;
        if (IsAtRest(compressor)) {
            count = ScaleWhileBelow(from, to, frames - done, channels, quietKey,
                                    CurrentGain(compressor.GainDb()));
        }
        if (count == 0) {
            count = std::min(kStretch, frames - done);
            RunStretch(compressor, static_cast<double>(quietKey), from, to, count, channels);
        }
        done += count;
    }
}

}  // namespace quorvel::dynamics
