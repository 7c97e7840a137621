// The fast path of the gate.
//
// A closed gate whose envelope stays where it is will stay there until a key is above the
// threshold: its gain holds for all frames up to that key. (After activity it can stall some units
// in the last place above closed.)
#include <array>

#include "dsp/dynamics/linked_gain.h"
#include "dsp/dynamics/sample_kernels.h"
#include "dsp/dynamics/simple_gate.h"
#include "dsp/dynamics/stretches.h"

namespace quorvel::dynamics {
namespace {

bool IsAtRest(const SimpleGate& gate) {
    double next = gate.Envelope();
    gate.Run(kDcOffset, next);
    return next == gate.Envelope();
}

// With coefficients of at least 0 and below 1 the envelope stays from kDcOffset to 1.0, both of
// which it aims at. Then an open frame rises and a closed one falls (or stands still, for which
// the coefficient does not matter), and the coefficient is known without asking the envelope.
bool RisesWhenOpen(const SimpleGate& gate) {
    const auto ordinary = [](double coefficient) {
        return coefficient >= 0.0 && coefficient < 1.0;
    };
    return ordinary(gate.AttackCoefficient()) && ordinary(gate.ReleaseCoefficient()) &&
           gate.Envelope() >= kDcOffset && gate.Envelope() <= 1.0;
}

// The only thing that a frame waits for is the envelope of the frame before: three operations.
void RunLively(SimpleGate& gate, const float* in, float* out, int32_t frames, int32_t channels) {
    std::array<double, kLivelyStretch> peaks;
    FindPeaks(in, frames, channels, peaks.data());
    const Pair threshold = Both(gate.LinearThreshold());
    const Pair opened = Both(1.0 + kDcOffset);
    const Pair closed = Both(0.0 + kDcOffset);
    const Pair rise = Both(gate.AttackCoefficient());
    const Pair fall = Both(gate.ReleaseCoefficient());
    Pair envelope = Both(gate.Envelope());
    WithWidth(channels, [&](auto width) {
        for (int32_t f = 0; f < frames; ++f, in += width, out += width) {
            const auto open = Both(peaks[static_cast<std::size_t>(f)]) > threshold;
            const Pair aim = open ? opened : closed;
            envelope = aim + (open ? rise : fall) * (envelope - aim);
            ScaleFrame(in, out, width, envelope - kDcOffset);
        }
    });
    gate.SetEnvelope(envelope[0]);
}

}  // namespace

void ProcessLinked(SimpleGate& gate, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME {
    if (channels < 0) return;
    if (!RisesWhenOpen(gate)) return ProcessLinkedPlain(gate, in, out, frames, channels);
    const float closedKey = FloatNotAbove(gate.LinearThreshold());
    WalkStretches(
        in, out, frames, channels,
        [&](const float* from, float* to, int32_t count) {
            if (!IsAtRest(gate)) return 0;
            return ScaleWhileBelow(from, to, count, channels, closedKey, gate.Gain());
        },
        [&](const float* from, float* to, int32_t count) {
            RunLively(gate, from, to, count, channels);
        });
}

}  // namespace quorvel::dynamics
