// One pooled intermediate buffer of a graph.
#pragma once

#include <cstdint>

namespace quorvel {

// Interleaved samples, frames × channels, in memory of the C allocator. Growing keeps the content,
// so that a block can widen its input in place, and adds zeros.
struct AudioBuffer {
    AudioBuffer() = default;
    ~AudioBuffer();
    AudioBuffer(const AudioBuffer&) = delete;
    AudioBuffer& operator=(const AudioBuffer&) = delete;

    // Makes room for `bytes` bytes; does nothing when there is room already. False when allocation
    // fails or `bytes` is above 4 GiB - 1; the old memory and content then stay.
    bool Grow(uint64_t bytes);

    // Fills all of the memory with silence.
    void Silence();

    // Returns the memory.
    void Release();

    uint32_t capacityBytes = 0;  // bytes allocated at `data`
    float* data = nullptr;       // owned
    uint32_t users =
        0;  // 0: free; else one each for the writer, the readers and those who share it
    uint32_t channels = 0;  // width asked for when it was first handed out
};

// Bytes of `frames` frames of `channels` floats. Widths and frame counts arrive as signed numbers
// from blocks and callers; a negative one counts as the huge unsigned number of the same bits, so
// that no buffer can hold it.
constexpr uint64_t BufferBytes(int32_t frames, int32_t channels) {
    return uint64_t{static_cast<uint32_t>(frames)} * static_cast<uint32_t>(channels) > UINT32_MAX
               ? UINT64_MAX
               : uint64_t{static_cast<uint32_t>(frames)} * static_cast<uint32_t>(channels) *
                     sizeof(float);
}

}  // namespace quorvel
