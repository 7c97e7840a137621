#include "dsp/dynamics/linked_gain.h"

#include <cmath>

#include "dsp/dynamics/simple_comp.h"
#include "dsp/dynamics/simple_gate.h"
#include "dsp/dynamics/simple_limit.h"

namespace quorvel::dynamics {
namespace {

double FramePeak(const float* frame, int32_t channels) {
    double peak = 0.0;
    for (int32_t c = 0; c < channels; ++c) {
        const double magnitude = std::fabs(static_cast<double>(frame[c]));
        if (magnitude > peak) peak = magnitude;
    }
    return peak;
}

template <typename Engine>
void ProcessPlain(Engine& engine, const float* in, float* out, int32_t frames, int32_t channels) {
    if (channels < 0) return;
    for (int32_t f = 0; f < frames; ++f, in += channels, out += channels) {
        const double gain = engine.ComputeGain(FramePeak(in, channels));
        for (int32_t c = 0; c < channels; ++c)
            out[c] = static_cast<float>(static_cast<double>(in[c]) * gain);
    }
}

}  // namespace

void ProcessLinkedPlain(SimpleComp& compressor, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME {
    ProcessPlain(compressor, in, out, frames, channels);
}

void ProcessLinkedPlain(SimpleGate& gate, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME {
    ProcessPlain(gate, in, out, frames, channels);
}

void ProcessLinkedPlain(SimpleLimit& limiter, const float* in, float* out, int32_t frames,
                        int32_t channels) QUORVEL_REAL_TIME {
    if (channels < 0) return;
    for (int32_t f = 0; f < frames; ++f, in += channels, out += channels)
        limiter.ProcessFrame(in, out, static_cast<uint32_t>(channels));
}

}  // namespace quorvel::dynamics
