#include "base/audio_buffer.h"

#include <cstdlib>
#include <cstring>

#include "base/memory_shortage.h"

namespace quorvel {

AudioBuffer::~AudioBuffer() {
    Release();
}

bool AudioBuffer::Grow(uint64_t bytes) {
    if (bytes <= capacityBytes) return true;
    if (bytes > UINT32_MAX) return false;
    void* grown = std::realloc(data, static_cast<std::size_t>(bytes));
    if (!grown) {
        NoteMemoryShortage();
        return false;
    }
    std::memset(static_cast<char*>(grown) + capacityBytes, 0,
                static_cast<std::size_t>(bytes - capacityBytes));
    data = static_cast<float*>(grown);
    capacityBytes = static_cast<uint32_t>(bytes);
    return true;
}

void AudioBuffer::Silence() {
    if (data) std::memset(data, 0, capacityBytes);
}

void AudioBuffer::Release() {
    std::free(data);
    data = nullptr;
    capacityBytes = 0;
}

}  // namespace quorvel
