// One buffer through the graph. Everything here runs on the real-time thread.
#include <algorithm>

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
    const int32_t ready = NarrowInput(in, frames);
    const bool isNarrowed = processingFormat.Format.nChannels != inputFormat.Format.nChannels;
    float* chainInput = isNarrowed ? conversionBuffer.data : in;
    for (GraphNode& node : processingList.Nodes())
        RunNode(node, chainInput, out, ready);
    const int64_t outWidth = outputFormat.Format.nChannels;
    std::fill_n(out + ready * outWidth, (frames - ready) * outWidth, 0.0f);
}

// Lays the input into the conversion buffer at the processing width, if that is another: the first
// channels of each frame, or all of them and silence up to the width. Returns how many frames are
// ready: fewer than there are only when the buffer cannot grow.
int32_t AudioGraph::NarrowInput(const float* in, int32_t frames) {
    const std::size_t inWidth = inputFormat.Format.nChannels;
    const std::size_t width = processingFormat.Format.nChannels;
    if (width == inWidth) return frames;
    if (!conversionBuffer.Grow(BufferBytes(frames, static_cast<int32_t>(width)))) {
        frames = static_cast<int32_t>(conversionBuffer.capacityBytes / sizeof(float) / width);
    }
    const std::size_t copied = std::min(width, inWidth);
    float* converted = conversionBuffer.data;
    for (int32_t f = 0; f < frames; ++f, in += inWidth, converted += width) {
        std::copy_n(in, copied, converted);
        std::fill_n(converted + copied, width - copied, 0.0f);
    }
    return frames;
}

// No more than either buffer holds, should the widths differ for want of an adapter.
void AudioGraph::PassThrough(const float* in, float* out, int32_t frames) const {
    if (out == in) return;
    const std::size_t count = static_cast<std::size_t>(frames);
    const std::size_t outSamples = count * outputFormat.Format.nChannels;
    const std::size_t inSamples =
        count * std::min<std::size_t>(inputFormat.Format.nChannels,  // packed there
                                      processingFormat.Format.nChannels);
    const std::size_t copied = std::min(inSamples, outSamples);
    std::copy_n(in, copied, out);
    if (copied != 0) std::fill_n(out + copied, outSamples - copied, 0.0f);
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
    MixInputs(node, destination, frames);
}

void AudioGraph::WidenInputs(GraphNode& node, int32_t frames) {
    if (node.mixChannels == 0) return;
    for (BlockInput& input : node.inputs) {
        if (input.source->GetOutputChannels() >= node.mixChannels) continue;
        GrowOrDie(*input.buffer, frames, node.mixChannels);
        // A source that became narrower while the graph was suspended has no adapter yet.
        if (!input.adapter) continue;
        input.adapter->Process(input.buffer->data, input.buffer->data, frames);
    }
}

// The sum of the inputs is as wide as they are; where the block delivers less, the sum would not
// fit into its destination. A block that then writes nothing leaves the front of the sum there.
void AudioGraph::MixInputs(GraphNode& node, float* destination, int32_t frames) {
    AudioBlock& block = *node.block;
    if (!NarrowsItsSum(node)) {
        block.ProcessInputs(node.inputs, destination, frames);
        return;
    }
    GrowOrDie(mixBuffer, frames, block.GetInputChannels());
    block.ProcessInputs(node.inputs, mixBuffer.data, frames);
    std::copy_n(mixBuffer.data, int64_t{frames} * block.GetOutputChannels(), destination);
}

}  // namespace quorvel
