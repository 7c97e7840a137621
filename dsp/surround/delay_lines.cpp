#include "dsp/surround/delay_lines.h"

#include <algorithm>

namespace quorvel {
namespace {

uint64_t FramesOf(uint32_t delayMs, uint32_t rate) {
    if (delayMs == 0) return 0;
    const float perSecond = 1000.0f / static_cast<float>(delayMs);
    return static_cast<uint64_t>(static_cast<float>(rate) / perSecond);
}

// Samples in the ring of a line.
uint64_t RingSize(uint64_t delayFrames) {
    return delayFrames == 0 ? 0 : delayFrames + 1;
}

}  // namespace

void DelayLines::Build(const Delays& delaysMs, uint32_t rate) QUORVEL_REAL_TIME {
    DelayFrames wanted{};
    std::ranges::transform(delaysMs, wanted.begin(),
                           [rate](uint32_t delay) { return FramesOf(delay, rate); });
    if (wanted == built) return;
    uint64_t samples = 0;
    for (const uint64_t frames : wanted)
        samples += RingSize(frames);
    const bool holdsSamples = built != DelayFrames{};
    const int32_t next = holdsSamples ? 1 - current : current;
    if (!memories[next].Grow(samples * sizeof(float))) return Drop();
    float* ring = memories[next].data;
    for (int32_t slot = 0; slot < kSlots; ++slot) {
        const uint64_t frames = wanted[std::size_t(slot)];
        MakeLine(slot, frames, ring);
        ring += RingSize(frames);
    }
    built = wanted;
    current = next;
}

// `ring` overlaps no ring that holds samples.
void DelayLines::MakeLine(int32_t slot, uint64_t frames, float* ring) {
    Line& line = lines[slot];
    if (frames == built[std::size_t(slot)]) {
        std::copy_n(line.ring, RingSize(frames), ring);
        line.ring = ring;
        return;
    }
    const auto last = static_cast<uint32_t>(frames);
    line = {.last = last, .read = 0, .write = last, .ring = ring};
    std::fill_n(ring, RingSize(frames), 0.0f);
}

void DelayLines::Drop() QUORVEL_REAL_TIME {
    built = {};
}

void DelayLines::Process(float* buffer, int32_t frames) QUORVEL_REAL_TIME {
    for (int32_t slot = 0; slot < kSlots; ++slot) {
        if (built[std::size_t(slot)] > 0) Delay(lines[slot], buffer + slot, frames);
    }
}

// The two places are never at the end together.
void DelayLines::Delay(Line& line, float* samples, int32_t frames) {
    uint32_t read = line.read, write = line.write;
    for (int32_t f = 0; f < frames; ++f, samples += kSlots) {
        line.ring[write] = *samples;
        *samples = line.ring[read];
        if (write++ == line.last) {
            write = 0;
            ++read;
        } else if (read++ == line.last) {
            read = 0;
        }
    }
    line.read = read;
    line.write = write;
}

}  // namespace quorvel
