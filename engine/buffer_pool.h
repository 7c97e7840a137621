// The intermediate buffers of a graph, kept from one build to the next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/audio_buffer.h"

namespace quorvel {

// Every buffer ever made, in creation order. Addresses stay until Clear.
class BufferPool {
  public:
    std::size_t Count() const { return buffers.size(); }
    AudioBuffer& At(std::size_t index) const { return *buffers[index]; }

    // Frees every buffer. No processing list may refer to them any more.
    void Clear() { buffers.clear(); }

    // Fills every buffer with silence.
    void Silence() const;

    // Appends a buffer of exactly `bytes` bytes; null when the memory cannot be had.
    AudioBuffer* Append(uint64_t bytes);

  private:
    std::vector<std::unique_ptr<AudioBuffer>> buffers;
};

// Hands out buffers of a pool for one plan of a processing list: always the first free buffer, in
// creation order, that is large enough. Finding it takes logarithmic time (a tournament tree of the
// free capacities), so that planning stays fast for very long chains. While a planner lives, nobody
// else may free or grow the pool's free buffers.
class BufferPlanner {
  public:
    explicit BufferPlanner(BufferPool& bufferPool);

    // A buffer for `frames` frames of `channels` floats, with one user; a new one when no free one
    // is large enough. Null when the memory cannot be had.
    AudioBuffer* AcquireBuffer(int32_t frames, int32_t channels);

  private:
    std::size_t FirstFree(uint64_t bytes) const;
    void MarkUsed(std::size_t index);

    BufferPool& pool;
    std::size_t leaves = 1;          // a power of two, at least the number of buffers at the start
    std::vector<uint32_t> capacity;  // node n holds the larger of nodes 2n and 2n + 1; 0: none free
};

}  // namespace quorvel
