// The fast path of the look-ahead limiter.
#include <algorithm>

#include "dsp/dynamics/limiter_kernels.h"
#include "dsp/dynamics/linked_gain.h"
#include "dsp/dynamics/simple_limit.h"

namespace quorvel::dynamics {

int32_t SimpleLimit::ProcessWholeVectors(const float* input, float* output, int32_t frames,
                                         uint32_t channels) QUORVEL_REAL_TIME {
    if (bufferSize == 0 || delayLines.size() != channels) return 0;
    if (channels == 0 || channels > LimiterRun::kMostChannels) return 0;
    if (peakHold < LimiterRun::kLeastPeakHold) return 0;
    LimiterRun run{.in = input,
                   .out = output,
                   .frames = frames,
                   .channels = channels,
                   .threshold = threshold,
                   .attack = attack.Coefficient(),
                   .release = release.Coefficient(),
                   .peakHold = peakHold,
                   .mask = mask,
                   .cursor = cursor,
                   .peakTimer = peakTimer,
                   .maxPeak = maxPeak,
                   .envelope = envelope};
    for (uint32_t c = 0; c < channels; ++c)
        run.lines[c] = delayLines[c].data();
    const int32_t done = ChooseLimiterKernel()(run);
    cursor = run.cursor;
    peakTimer = run.peakTimer;
    maxPeak = run.maxPeak;
    envelope = run.envelope;
    return done;
}

void ProcessLinked(SimpleLimit& limiter, const float* in, float* out, int32_t frames,
                   int32_t channels) QUORVEL_REAL_TIME {
    if (channels < 0 || frames <= 0) return;
    const int32_t done =
        limiter.ProcessWholeVectors(in, out, frames, static_cast<uint32_t>(channels));
    const int64_t samples = int64_t{done} * channels;
    ProcessLinkedPlain(limiter, in + samples, out + samples, frames - done, channels);
}

}  // namespace quorvel::dynamics
