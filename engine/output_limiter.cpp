#include "engine/output_limiter.h"

#include "dsp/dynamics/linked_gain.h"

namespace quorvel {

OutputLimiter::OutputLimiter() {
    compressor.SetAttack(0.0);  // raised to the 1 ms minimum
    compressor.SetRelease(200.0);
    compressor.SetThreshold(0.0);
    compressor.SetRatio(0.1);
    StartAfresh();
}

void OutputLimiter::SetSampleRate(double hertz) {
    compressor.SetSampleRate(hertz);
}

void OutputLimiter::Process(float* samples, int32_t frames, int32_t channels) QUORVEL_REAL_TIME {
    if (channels <= 0) return;
    dynamics::ProcessLinked(compressor, samples, samples, frames, channels);
}

}  // namespace quorvel
