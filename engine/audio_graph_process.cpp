// One buffer through the graph. Everything here runs on the real-time thread.
#include <algorithm>
#include <cstring>

#include "engine/audio_graph.h"
#include "engine/node_configuration.h"

namespace quorvel {

void AudioGraph::Reset() QUORVEL_REAL_TIME {
    for (const auto& [id, block] : network.Blocks())
        block->Reset();
}

uint32_t AudioGraph::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    const int32_t count = std::max(frames, 0);
    const uint32_t mask = inputScan.Run(in, count, inputFormat.Format.nChannels);
    if (mask != lastActiveMask) {
        lastActiveMask = mask;
        if (onActiveChannelsChanged) onActiveChannelsChanged(mask);
    }
    FollowChannelActivity(mask, count);
    RunChain(in, out, count);
    limiter.Process(out, count, outputFormat.Format.nChannels);
    return mask;
}

void AudioGraph::FollowChannelActivity(uint32_t mask, int32_t frames) {
    constexpr uint32_t kWidestPlainInput = 2;  // no width to save up to here
    detector.Update(mask, frames);
    uint32_t width = inputFormat.Format.nChannels;
    uint32_t widthMask = inputFormat.dwChannelMask;
    if (holdMs != 0 && width > kWidestPlainInput && detector.ActiveChannels() != 0) {
        width = detector.ActiveChannels();
        widthMask = detector.ActiveChannelMask();
    }
    if (width != processingFormat.Format.nChannels) SwitchProcessingWidth(width, widthMask);
}

void AudioGraph::SwitchProcessingWidth(uint32_t width, uint32_t mask) {
    WAVEFORMATEX& format = processingFormat.Format;
    format.nChannels = static_cast<uint16_t>(width);
    processingFormat.dwChannelMask = mask;
    format.nBlockAlign = static_cast<uint16_t>(width * format.wBitsPerSample / 8);
    format.nAvgBytesPerSec = format.nBlockAlign * format.nSamplesPerSec;
    Reconfigure();
}

void AudioGraph::RunChain(float* in, float* out, int32_t frames) {
    if (processingList.Nodes().empty()) {
        PassThrough(in, out, frames);
        return;
    }
    float* chainInput = ChainInput(in, frames);
    if (!chainInput) {
        std::fill_n(out, int64_t{frames} * outputFormat.Format.nChannels, 0.0f);
        return;
    }
    for (GraphNode& node : processingList.Nodes())
        RunNode(node, chainInput, out, frames);
}

// The input at the processing width: the first channels of each frame, or all of them and silence
// up to the width. Null when there is no memory to narrow it into.
float* AudioGraph::ChainInput(float* in, int32_t frames) {
    const std::size_t inWidth = inputFormat.Format.nChannels;
    const std::size_t width = processingFormat.Format.nChannels;
    if (width == inWidth) return in;
    const uint64_t bytes = BufferBytes(frames, static_cast<int32_t>(width));
    if (!conversionBuffer.Grow(bytes)) return nullptr;
    const std::size_t copied = std::min(width, inWidth);
    float* converted = conversionBuffer.data;
    for (int32_t f = 0; f < frames; ++f, in += inWidth, converted += width) {
        std::copy_n(in, copied, converted);
        std::fill_n(converted + copied, width - copied, 0.0f);
    }
    return conversionBuffer.data;
}

// No more than either buffer holds, should the widths differ for want of an adapter.
void AudioGraph::PassThrough(const float* in, float* out, int32_t frames) const {
    if (out == in) return;
    const auto width = std::min({inputFormat.Format.nChannels, processingFormat.Format.nChannels,
                                 outputFormat.Format.nChannels});
    if (width == 0 || frames == 0) return;
    std::memcpy(out, in, sizeof(float) * width * static_cast<std::size_t>(frames));
}

void AudioGraph::RunNode(GraphNode& node, float* chainInput, float* out, int32_t frames) {
    AudioBlock& block = *node.block;
    const int32_t width = block.GetOutputChannels();
    float* destination = out;
    if (node.outBuffer) {
        GrowOrDie(*node.outBuffer, frames, width);
        destination = node.outBuffer->data;
    } else if (width != outputFormat.Format.nChannels) {
        return;
    }
    if (node.inputs.size() < 2) {
        float* source = node.inputs.empty() ? chainInput : node.inputs.front().buffer->data;
        block.Process(source, destination, frames);
        return;
    }
    WidenInputs(node, frames);
    block.ProcessInputs(node.inputs, destination, frames);
}

void AudioGraph::WidenInputs(GraphNode& node, int32_t frames) {
    if (node.mixChannels == 0) return;
    for (BlockInput& input : node.inputs) {
        if (input.source->GetOutputChannels() >= node.mixChannels) continue;
        GrowOrDie(*input.buffer, frames, node.mixChannels);
        input.adapter->Process(input.buffer->data, input.buffer->data, frames);
    }
}

}  // namespace quorvel
