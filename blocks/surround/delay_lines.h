// Delays of the channels of an eight-channel frame, each by a time of its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "engine/audio_buffer.h"
#include "platform/real_time.h"

namespace quorvel {

// A set of delay lines: a ring each, all in one allocation. A slot without a delay has no line and
// passes at once.
class DelayLines {
  public:
    static constexpr int32_t kSlots = 8;

    // Delays by slot, in milliseconds.
    using Delays = std::array<uint32_t, kSlots>;

    // Makes the lines, silent, for `rate` in Hz, unless they are made: a delay of d ms is
    // rate / (1000/d) frames, calculated in single precision and truncated. Without the memory
    // there is no line, and the next call tries again. Allocates when the lines need more memory
    // than any before.
    void Build(const Delays& delaysMs, uint32_t rate) QUORVEL_REAL_TIME;

    // Forgets the lines: the next Build makes new ones.
    void Drop() QUORVEL_REAL_TIME;

    // Delays `buffer` (frames × 8) in place.
    void Process(float* buffer, int32_t frames) QUORVEL_REAL_TIME;

  private:
    // A ring of one float more than the delay. Both places are in it; the older sample is read.
    struct Line {
        int32_t slot = 0;
        uint32_t last = 0;  // place
        uint32_t read = 0;
        uint32_t write = 0;
        float* ring = nullptr;
    };

    static void Delay(Line& line, float* samples, int32_t frames);

    bool isBuilt = false;
    int32_t count = 0;
    Line lines[kSlots] = {};
    AudioBuffer memory{};
};

}  // namespace quorvel
