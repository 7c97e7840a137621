// Delays of the channels of an eight-channel frame, each by a time of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/audio_buffer.h"
#include "platform/real_time.h"

namespace quorvel {

// A set of delay lines: a ring each, all in one allocation. A slot without a delay has no line and
// passes at once.
class DelayLines {
  public:
    static constexpr int32_t kSlots = 8;

    // Delays by slot, in milliseconds.
    using Delays = std::array<uint32_t, kSlots>;

    // Makes the lines for `rate` in Hz: a delay of d ms is rate / (1000/d) frames, calculated in
    // single precision and truncated. A slot whose delay stays the same keeps the samples of its
    // line; other lines are silent. When no delay differs, nothing happens.
    //
    // Without the memory there is no line, and the next call tries again. Allocates when the lines
    // need more memory than any before, and for the first change of lines that hold samples.
    void Build(const Delays& delaysMs, uint32_t rate) QUORVEL_REAL_TIME;

    // Drops the lines and their samples: the next Build makes silent ones.
    void Drop() QUORVEL_REAL_TIME;

    // Delays `buffer` (frames × 8) in place.
    void Process(float* buffer, int32_t frames) QUORVEL_REAL_TIME;

  private:
    // A ring of one float more than the delay. Both places are in it; the older sample is read.
    struct Line {
        uint32_t last = 0;  // place
        uint32_t read = 0;
        uint32_t write = 0;
        float* ring = nullptr;
    };
    using DelayFrames = std::array<uint64_t, kSlots>;

    void MakeLine(int32_t slot, uint64_t frames, float* ring);
    static void Delay(Line& line, float* samples, int32_t frames);

    DelayFrames built{};           // by slot; 0: no line
    Line lines[kSlots] = {};       // by slot
    int32_t current = 0;           // the memory that the lines are in
    AudioBuffer memories[2] = {};  // the other one takes the lines when delays change
};

}  // namespace quorvel
