// One buffer through the graph. Everything here runs on the real-time thread.
#include <algorithm>

#include "engine/audio_graph.h"
#include "engine/node_configuration.h"
#include "engine/sample_check.h"

namespace quorvel {
namespace {

// Whether the last frame is finite. One that is not shows a state that is not: a history or an
// envelope puts it into every frame.
bool EndsFinite(const float* samples, int32_t frames, int32_t channels) {
    if (frames < 1 || channels < 1) return true;
    const float* const last = samples + int64_t{frames - 1} * channels;
    return std::all_of(last, last + channels, IsFinite);
}

void SilenceIfMute(const AudioBlock& block, float* out, int32_t frames) {
    if (block.IsMute()) std::fill_n(out, int64_t{frames} * block.GetOutputChannels(), 0.0f);
}

}  // namespace

void AudioGraph::Reset() QUORVEL_REAL_TIME {
    for (const auto& [id, block] : network.Blocks())
        block->Reset();
}

void AudioGraph::StartAfresh() QUORVEL_REAL_TIME {
    for (const auto& [id, block] : network.Blocks())
        block->StartAfresh();
    limiter.StartAfresh();
    bufferPool.Silence();
    conversionBuffer.Silence();
    mixBuffer.Silence();
}

uint32_t AudioGraph::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    const int32_t count = std::max(frames, 0);
    const uint32_t mask = inputScan.Run(in, count, inputFormat.Format.nChannels);
    if (mask != lastActiveMask) {
        lastActiveMask = mask;
        if (onActiveChannelsChanged) onActiveChannelsChanged(mask);
    }
    FollowChannelActivity(mask, count);
    if (suspended && !IsConfigured()) Reconfigure();
    RunChain(in, out, count);
    limiter.Process(out, count, outputFormat.Format.nChannels);
    return mask;
}

void AudioGraph::FollowChannelActivity(uint32_t mask, int32_t frames) {
    constexpr uint32_t kWidestPlainInput = 2;  // such inputs always run at their own width
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

// Whether every block still has the width it was configured with, and the last one the width of
// the output. Blocks do not report a new width to a suspended graph.
bool AudioGraph::IsConfigured() const {
    const auto& nodes = processingList.Nodes();
    const int32_t width = nodes.empty() ? processingFormat.Format.nChannels : nodes.back().width;
    return width == outputFormat.Format.nChannels &&
           std::ranges::all_of(nodes, [](const GraphNode& node) {
               return node.width == node.block->GetOutputChannels();
           });
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

// Copies the input into the conversion buffer when the processing width differs from the input's:
// the first channels of each frame, or all of them and silence up to the width. Returns the number
// of frames that are ready, which is smaller than `frames` only when the buffer cannot grow.
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

// Copies at most what either buffer holds, in case the widths differ because no adapter could be
// allocated. The rest of the output is silence.
void AudioGraph::PassThrough(const float* in, float* out, int32_t frames) const {
    const std::size_t count = static_cast<std::size_t>(frames);
    const std::size_t outSamples = count * outputFormat.Format.nChannels;
    const std::size_t inSamples =
        count * std::min<std::size_t>(inputFormat.Format.nChannels,  // packed there
                                      processingFormat.Format.nChannels);
    const std::size_t copied = std::min(inSamples, outSamples);
    if (out != in) std::copy_n(in, copied, out);
    std::fill_n(out + copied, outSamples - copied, 0.0f);
}

void AudioGraph::RunNode(GraphNode& node, float* chainInput, float* out, int32_t frames) {
    AudioBlock& block = *node.block;
    const int32_t width = block.GetOutputChannels();
    const int64_t outWidth = outputFormat.Format.nChannels;
    float* destination = out;
    if (node.outBuffer) {
        GrowOrDie(*node.outBuffer, frames, width);
        destination = node.outBuffer->data;
    } else if (width != outWidth) {  // the chain ends without channels, or a format is missing
        std::fill_n(out, frames * outWidth, 0.0f);
        return;
    }
    if (node.inputs.size() < 2) {
        float* source = node.inputs.empty() ? chainInput : node.inputs.front().buffer->data;
        block.Process(source, destination, frames);
    } else {
        WidenInputs(node, frames);
        MixInputs(node, destination, frames);
    }
    SilenceIfMute(block, destination, frames);
    if (!EndsFinite(destination, frames, width)) block.StartAfresh();
}

void AudioGraph::WidenInputs(GraphNode& node, int32_t frames) {
    if (node.mixChannels == 0) return;
    for (BlockInput& input : node.inputs) {
        if (input.source->GetOutputChannels() >= node.mixChannels) continue;
        GrowOrDie(*input.buffer, frames, node.mixChannels);
        if (!input.adapter) continue;  // a format is missing
        input.adapter->Process(input.buffer->data, input.buffer->data, frames);
        SilenceIfMute(*input.adapter, input.buffer->data, frames);
    }
}

// The sum is as wide as the inputs. Where the block's output is narrower, the sum does not fit into
// the destination and gets a buffer of its own.
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
