#include "engine/sample_guard.h"

#include <algorithm>

#include "engine/sample_check.h"

namespace quorvel {

uint32_t SampleGuard::Process(AudioGraph& graph, float* in, float* out,
                              int32_t frames) QUORVEL_REAL_TIME {
    const int32_t count = std::max(frames, 0);
    const int32_t outChannels = graph.OutputFormat().Format.nChannels;
    counts.replaced += ReplaceInsane(in, int64_t{count} * graph.InputFormat().Format.nChannels);
    const uint32_t mask = graph.Process(in, out, frames);
    if (!AreFinite(out, int64_t{count} * outChannels)) {
        Silence(out, count, outChannels);
        graph.StartAfresh();
    }
    framesDone += count;
    return mask;
}

void SampleGuard::Silence(float* out, int32_t frames, int32_t channels) {
    const int64_t samples = int64_t{frames} * channels;
    for (int64_t i = 0; i < samples; ++i) {
        if (IsFinite(out[i])) continue;
        if (counts.notFinite++ > 0) continue;
        counts.firstFrame = framesDone + i / channels;
        counts.firstChannel = static_cast<int32_t>(i % channels);
    }
    std::fill_n(out, samples, 0.0f);
}

}  // namespace quorvel
