// The fast path of the compressor.
//
// What is certain before it is calculated:
// - A key well below the threshold is 0 dB over it.
// - An exponent near 0 gives a gain so near to 1 that no float moves.
// - An envelope that stays where it is under 0 dB over the threshold will stay there until a key
//   reaches the threshold: its gain holds for all frames up to that key. After activity such an
//   envelope can stall some units in the last place above where it began.
#include <cmath>
#include <limits>

#include "base/math/exponential.h"
#include "dsp/dynamics/compressor_kernels.h"
#include "dsp/dynamics/linked_gain.h"
#include "dsp/dynamics/sample_kernels.h"
#include "dsp/dynamics/simple_comp.h"
#include "dsp/dynamics/stretches.h"

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

void RunLively(SimpleComp& compressor, const float* in, float* out, int32_t frames,
               int32_t channels) {
    CompressorRun run{.in = in,
                      .out = out,
                      .frames = frames,
                      .channels = channels,
                      .thresholdDb = compressor.GetThreshold(),
                      .slope = compressor.GetRatio() - 1.0,
                      .attack = compressor.AttackCoefficient(),
                      .release = compressor.ReleaseCoefficient(),
                      .envelope = compressor.Envelope()};
    const int32_t done = ChooseCompressorKernel()(run);
    compressor.SetEnvelope(run.envelope);
    const int64_t samples = int64_t{done} * channels;
    ProcessLinkedPlain(compressor, in + samples, out + samples, frames - done, channels);
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
            RunLively(compressor, from, to, count, channels);
        });
}

}  // namespace quorvel::dynamics
