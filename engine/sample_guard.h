// What keeps one bad sample from ruining the sound of a graph.
//
//     in ── what is not sane becomes 0 ── graph ── a buffer with a sample that is not finite
//                                                  becomes silence, and the graph starts afresh
//
// So a bad sample (infinite, NaN, or above kLoudestInput) acts as 0 and stays in no block. Should
// the chain itself overflow, by gains far beyond audio or a hostile record, the buffer is lost and
// from the next one on the graph sounds as it did after its last configuration. For sane input and
// finite output not one bit changes, and nothing is written that the graph does not write.
//
// A block inside the chain whose output ends in samples that are not finite is started afresh by
// the graph itself (AudioGraph::Process): they may never reach the output, where a later block
// silences them.
//
// Threads: those of the graph; no lock, no allocation.
#pragma once

#include <cstdint>

#include "engine/audio_graph.h"
#include "platform/real_time.h"

namespace quorvel {

class SampleGuard {
  public:
    // What was caught so far.
    struct Counts {
        uint64_t replaced = 0;      // samples of the input that became 0
        uint64_t notFinite = 0;     // samples of the output that were infinite or NaN
        int64_t firstFrame = -1;    // of the first of them, from the first frame processed on
        int32_t firstChannel = -1;  // its channel
    };

    // Runs `graph` as AudioGraph::Process does, with the same result. What is replaced in `in` is
    // replaced in place.
    uint32_t Process(AudioGraph& graph, float* in, float* out, int32_t frames) QUORVEL_REAL_TIME;

    // Counts frames that pass without being processed, a silent buffer's.
    void PassBy(int32_t frames) QUORVEL_REAL_TIME { framesDone += frames; }

    const Counts& Caught() const { return counts; }

  private:
    void Silence(float* out, int32_t frames, int32_t channels);

    Counts counts{};
    int64_t framesDone = 0;
};

}  // namespace quorvel
