// A block whose every answer a test chooses, and which counts its resets.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/audio_block.h"

namespace quorvel::test {

// An id whose last byte is `number`, so that ids sort like numbers.
inline GUID NumberedId(uint32_t number) {
    GUID id{};
    for (int i = 0; i < 4; ++i) {
        id.Data4[4 + i] = static_cast<uint8_t>(number >> (8 * (3 - i)));
    }
    return id;
}

// Writes `scale` × its input plus `offset` to every channel of its output; output channels beyond
// the input's repeat its last one.
class ProbeBlock final : public AudioBlock {
  public:
    explicit ProbeBlock(const GUID& instanceId) : AudioBlock(instanceId) {}

    int32_t GetOutputChannels() const override {
        return fixedWidth ? fixedWidth : AudioBlock::GetOutputChannels();
    }
    bool CanProcessInPlace() const override { return canProcessInPlace; }

    void Process(float* in, float* out, int32_t frames) override {
        const auto width = static_cast<int32_t>(channels);
        const int32_t outWidth = GetOutputChannels();
        const std::vector<float> copy(in, in + int64_t{width} * frames);  // `out` may be `in`
        for (int32_t f = 0; f < frames; ++f) {
            for (int32_t c = 0; c < outWidth; ++c) {
                const int32_t source = f * width + (c < width ? c : width - 1);
                const float sample = width > 0 ? copy[static_cast<size_t>(source)] : 0.0f;
                out[f * outWidth + c] = sample * scale + offset;
            }
        }
    }

    void Reset() override { ++resets; }

    uint32_t Width() const { return channels; }
    uint32_t Mask() const { return channelMask; }
    uint32_t Rate() const { return sampleRate; }

    int32_t fixedWidth = 0;  // output width; 0: as wide as the input
    bool canProcessInPlace = true;
    float scale = 1.0f;
    float offset = 0.0f;
    int resets = 0;
};

inline std::shared_ptr<ProbeBlock> MakeProbe(uint32_t number) {
    return std::make_shared<ProbeBlock>(NumberedId(number));
}

}  // namespace quorvel::test
