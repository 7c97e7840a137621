#include "engine/buffer_pool.h"

#include <algorithm>
#include <bit>
#include <new>

#include "base/memory_shortage.h"

namespace quorvel {

AudioBuffer* BufferPool::Append(uint64_t bytes) {
    std::unique_ptr<AudioBuffer> buffer(new (std::nothrow) AudioBuffer);
    if (!buffer) NoteMemoryShortage();
    if (!buffer || !buffer->Grow(bytes)) return nullptr;
    return buffers.emplace_back(std::move(buffer)).get();
}

void BufferPool::Silence() const {
    for (const auto& buffer : buffers)
        buffer->Silence();
}

BufferPlanner::BufferPlanner(BufferPool& bufferPool)
    : pool(bufferPool), leaves(std::bit_ceil(std::max<std::size_t>(bufferPool.Count(), 1))) {
    capacity.resize(2 * leaves);
    for (std::size_t i = 0; i < pool.Count(); ++i) {
        const AudioBuffer& buffer = pool.At(i);
        capacity[leaves + i] = buffer.users == 0 ? buffer.capacityBytes : 0;
    }
    for (std::size_t node = leaves - 1; node >= 1; --node) {
        capacity[node] = std::max(capacity[2 * node], capacity[2 * node + 1]);
    }
}

AudioBuffer* BufferPlanner::AcquireBuffer(int32_t frames, int32_t channels) {
    // No free buffer has 0 bytes, so one of at least a float serves an empty request too.
    const uint64_t bytes = std::max<uint64_t>(BufferBytes(frames, channels), sizeof(float));
    AudioBuffer* buffer = nullptr;
    if (bytes <= capacity[1]) {
        const std::size_t index = FirstFree(bytes);
        MarkUsed(index);
        buffer = &pool.At(index);
    } else {
        buffer = pool.Append(bytes);
        if (!buffer) return nullptr;
        buffer->channels = static_cast<uint32_t>(channels);
    }
    buffer->users = 1;
    return buffer;
}

std::size_t BufferPlanner::FirstFree(uint64_t bytes) const {
    std::size_t node = 1;
    while (node < leaves) {
        node *= 2;
        if (capacity[node] < bytes) ++node;
    }
    return node - leaves;
}

void BufferPlanner::MarkUsed(std::size_t index) {
    std::size_t node = leaves + index;
    capacity[node] = 0;
    for (node /= 2; node >= 1; node /= 2) {
        capacity[node] = std::max(capacity[2 * node], capacity[2 * node + 1]);
    }
}

}  // namespace quorvel
