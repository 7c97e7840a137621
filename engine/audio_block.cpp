#include "engine/audio_block.h"

#include <array>
#include <cstring>

#include "base/channel_masks.h"
#include "base/float_quad.h"

namespace quorvel {
namespace {

constexpr int64_t kStretch = 32;  // floats: eight sums that stay in registers

// Sums the inputs' samples from `start` on, as many as a stretch has. Each sample sees its
// additions in list order, starting from 0.0.
void SumStretch(const std::vector<BlockInput>& blockInputs, int64_t start, float* out) {
    std::array<Quad, kStretch / 4> sums{};
    for (const BlockInput& input : blockInputs) {
        const float* in = input.buffer->data + start;
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i] += LoadQuad(in + 4 * i);
    }
    for (std::size_t i = 0; i < sums.size(); ++i)
        StoreQuad(out + 4 * i, sums[i]);
}

}  // namespace

AudioBlock::AudioBlock(const GUID& instanceId) : id(instanceId) {}

AudioBlock::~AudioBlock() {
    outputs.clear();
    inputs.clear();
}

GUID AudioBlock::GetTypeId() const {
    return typeId;
}

int32_t AudioBlock::GetInputChannels() const {
    return static_cast<int32_t>(channels);
}

int32_t AudioBlock::GetOutputChannels() const {
    return static_cast<int32_t>(channels);
}

uint32_t AudioBlock::GetChannelMask() const {
    return channelMask;
}

void AudioBlock::SetInputsFormat(const std::vector<BlockInput>&, int32_t minWidth, int32_t maxWidth,
                                 int32_t rate) {
    inputChannels = static_cast<uint32_t>(minWidth);
    outputChannels = static_cast<uint32_t>(maxWidth);
    channels = outputChannels;
    channelMask = DefaultChannelMask(channels);
    sampleRate = static_cast<uint32_t>(rate);
}

void AudioBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    channels = static_cast<uint32_t>(width);
    inputChannels = channels;
    outputChannels = channels;
    channelMask = mask;
    sampleRate = static_cast<uint32_t>(rate);
}

void AudioBlock::ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                               int32_t frames) QUORVEL_REAL_TIME {
    const int64_t samples = int64_t{channels} * frames;
    int64_t start = 0;
    for (; start + kStretch <= samples; start += kStretch)
        SumStretch(blockInputs, start, out + start);
    for (; start < samples; ++start) {
        float sum = 0.0f;
        for (const BlockInput& input : blockInputs)
            sum += input.buffer->data[start];
        out[start] = sum;
    }
    Process(out, out, frames);
}

void AudioBlock::ProcessInput(const BlockInput& blockInput, float* out,
                              int32_t frames) QUORVEL_REAL_TIME {
    Process(blockInput.buffer->data, out, frames);
}

void AudioBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    if (out == in || frames <= 0) return;
    std::memcpy(out, in, sizeof(float) * channels * static_cast<std::size_t>(frames));
}

void AudioBlock::Reset() QUORVEL_REAL_TIME {}

bool AudioBlock::CanProcessInPlace() const {
    return true;
}

bool AudioBlock::WantsUniformInputs() const {
    return true;
}

bool AudioBlock::SetParameterData(const void*, uint32_t) {
    return true;
}

bool AudioBlock::SetParameters(const void*) {
    return true;
}

}  // namespace quorvel
