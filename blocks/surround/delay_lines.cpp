#include "blocks/surround/delay_lines.h"

#include <algorithm>

namespace quorvel {
namespace {

uint64_t DelayFrames(uint32_t delayMs, uint32_t rate) {
    if (delayMs == 0) return 0;
    const float perSecond = 1000.0f / static_cast<float>(delayMs);
    return static_cast<uint64_t>(static_cast<float>(rate) / perSecond);
}

}  // namespace

void DelayLines::Build(const Delays& delaysMs, uint32_t rate) QUORVEL_REAL_TIME {
    if (isBuilt) return;
    uint64_t samples = 0;
    for (const uint32_t delay : delaysMs)
        samples += delay == 0 ? 0 : DelayFrames(delay, rate) + 1;
    if (!memory.Grow(samples * sizeof(float))) return;
    std::fill_n(memory.data, samples, 0.0f);
    float* ring = memory.data;
    for (int32_t slot = 0; slot < kSlots; ++slot) {
        const auto frames = static_cast<uint32_t>(DelayFrames(delaysMs[std::size_t(slot)], rate));
        if (frames == 0) continue;
        lines[count++] = {.slot = slot, .last = frames, .read = 0, .write = frames, .ring = ring};
        ring += frames + 1;
    }
    isBuilt = true;
}

void DelayLines::Drop() QUORVEL_REAL_TIME {
    isBuilt = false;
    count = 0;
}

void DelayLines::Process(float* buffer, int32_t frames) QUORVEL_REAL_TIME {
    for (int32_t i = 0; i < count; ++i)
        Delay(lines[i], buffer + lines[i].slot, frames);
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
