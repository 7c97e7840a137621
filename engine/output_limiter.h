// The safety compressor at the end of every audio graph.
#pragma once

#include <cstdint>

#include "dsp/dynamics/simple_comp.h"
#include "platform/real_time.h"

namespace quorvel {

// Lets peaks above full scale rise only a tenth of a decibel per decibel: a compressor with
// threshold 0 dB, ratio 0.1, attack 1 ms, release 200 ms, one gain for all channels. It is no hard
// ceiling: an onset passes at full level until the attack has passed.
//
// Threads: no lock; the graph's owner serialises the calls. Nothing allocates.
class OutputLimiter {
  public:
    // At the compressor's own 44100 Hz until SetSampleRate.
    OutputLimiter();

    // Rate in Hz; the envelope goes on from where it is.
    void SetSampleRate(double hertz);

    // Clears the envelope. Real-time.
    void StartAfresh() QUORVEL_REAL_TIME { compressor.ResetRuntime(); }

    // Limits `samples` (frames × channels, interleaved) in place; nothing happens when a count is 0
    // or below. Infinities and NaNs act as in dynamics/linked_gain.h. Real-time.
    void Process(float* samples, int32_t frames, int32_t channels) QUORVEL_REAL_TIME;

  private:
    dynamics::SimpleComp compressor;
};

}  // namespace quorvel
