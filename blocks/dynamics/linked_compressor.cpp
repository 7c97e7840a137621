// The fast path of the compressor.
//
// What is certain before it is calculated:
// - A key well below the threshold is 0 dB over it: no logarithm.
// - An exponent near 0 gives a gain so near to 1 that no float moves: no exponential.
// - An envelope that stays where it is under 0 dB over the threshold will stay there until a key
//   reaches the threshold: its gain holds for all frames up to that key. After activity such an
//   envelope can stall some units in the last place above where it began.
#include <array>
#include <cmath>
#include <limits>
#include <span>

#include "base/math/exponential.h"
#include "blocks/dynamics/linked_gain.h"
#include "blocks/dynamics/sample_kernels.h"
#include "blocks/dynamics/simple_comp.h"
#include "blocks/dynamics/stretches.h"

namespace quorvel::dynamics {
namespace {

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
double EffectiveGain(double gainDb) {
    constexpr double kCertain = kUnityTolerance / 2.0;
    const double exponent = gainDb * kNepersPerDecibel;
    return std::fabs(exponent) <= kCertain ? 1.0 : math::Exp(exponent);
}

// Turns peaks into levels over the threshold. The loud frames are listed first, without a branch
// on each, so that the logarithms run back to back.
void FindLevels(const SimpleComp& compressor, double quietKey, std::span<double> levels) {
    std::array<std::size_t, kLivelyStretch> loud;
    std::size_t count = 0;
    for (std::size_t f = 0; f < levels.size(); ++f) {
        const bool quiet = levels[f] <= quietKey;
        levels[f] = quiet ? kDcOffset : levels[f];
        loud[count] = f;
        count += quiet ? 0 : 1;
    }
    for (const std::size_t f : std::span(loud).first(count))
        levels[f] = compressor.LevelOver(levels[f]);
}

void RunLively(SimpleComp& compressor, double quietKey, const float* in, float* out, int32_t frames,
               int32_t channels) {
    std::array<double, kLivelyStretch> buffer;
    const auto levels = std::span(buffer).first(static_cast<std::size_t>(frames));
    FindPeaks(in, frames, channels, levels.data());
    FindLevels(compressor, quietKey, levels);
    const double slope = compressor.GetRatio() - 1.0;
    PairedFollower follower{Both(compressor.AttackCoefficient()),
                            Both(compressor.ReleaseCoefficient()), Both(compressor.Envelope())};
    WithWidth(channels, [&](auto width) {
        for (const double level : levels) {
            const double gainDb = slope * (follower.Run(level) - kDcOffset);
            ScaleFrame(in, out, width, Both(EffectiveGain(gainDb)));
            in += width;
            out += width;
        }
    });
    compressor.SetEnvelope(follower.state[0]);
}

}  // namespace

void ProcessLinked(SimpleComp& compressor, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME {
    if (channels < 0) return;
    const float quietKey = QuietKey(compressor.GetThreshold());
    WalkStretches(
        in, out, frames, channels,
        [&](const float* from, float* to, int32_t count) {
            if (!IsAtRest(compressor)) return 0;
            const double gain = EffectiveGain(compressor.GainDb());
            return ScaleWhileBelow(from, to, count, channels, quietKey, gain);
        },
        [&](const float* from, float* to, int32_t count) {
            RunLively(compressor, double{quietKey}, from, to, count, channels);
        });
}

}  // namespace quorvel::dynamics
