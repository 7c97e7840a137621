// Formats, settings, and the adapter between the chain and the output.
#include <utility>

#include "engine/audio_graph.h"
#include "engine/block_type_ids.h"
#include "engine/bypass_block.h"
#include "engine/node_configuration.h"
#include "engine/scoped_flag.h"
#include "engine/width_adapter.h"

namespace quorvel {
namespace {

constexpr uint32_t kDefaultRate = 48000;   // Hz
constexpr uint32_t kDefaultHoldMs = 5000;  // ms
constexpr uint32_t kUseDefaultHold = 0xFFFFFFFF;

// Frames in `holdMs` at `rate` Hz, rounded down; the largest count when it does not fit.
uint32_t HoldFrames(uint32_t rate, uint32_t holdMs) {
    const double frames =
        static_cast<float>(rate) / (1000.0 / static_cast<double>(static_cast<float>(holdMs)));
    return frames < UINT32_MAX ? static_cast<uint32_t>(frames) : UINT32_MAX;
}

}  // namespace

void AudioGraph::SetInputFormat(const WAVEFORMATEX* format) {
    if (!format) return;
    StoreInputFormat(CopyFormat(*format));
    Reconfigure();
}

void AudioGraph::SetInputFormat(uint16_t channelCount, uint32_t mask, uint32_t sampleRate) {
    const AudioFormat format = MakeFloatFormat(channelCount, mask, sampleRate);
    SetInputFormat(&format.Format);
}

void AudioGraph::SetOutputFormat(const WAVEFORMATEX* format) {
    if (!format) return;
    outputFormat = CopyFormat(*format);
    Reconfigure();
}

void AudioGraph::SetOutputFormat(uint16_t channelCount, uint32_t mask, uint32_t sampleRate) {
    const AudioFormat format = MakeFloatFormat(channelCount, mask, sampleRate);
    SetOutputFormat(&format.Format);
}

void AudioGraph::SetFormats(const WAVEFORMATEX* input, const WAVEFORMATEX* output) {
    if (output) outputFormat = CopyFormat(*output);
    if (input) StoreInputFormat(CopyFormat(*input));
    Reconfigure();
}

void AudioGraph::StoreInputFormat(const AudioFormat& format) {
    inputFormat = format;
    processingFormat = format;
    detector.Reset();
    SetChannelDetectionHold(holdMs);
    inputScan.SetMask(inputFormat.dwChannelMask);
}

void AudioGraph::SetUpmixMode(uint32_t mode) {
    upmixMode = mode;
    if (!suspended) UpdateOutputAdapter();
}

void AudioGraph::SetChannelDetectionHold(uint32_t milliseconds) {
    holdMs = milliseconds == kUseDefaultHold ? kDefaultHoldMs : milliseconds;
    detector.SetHoldFrames(HoldFrames(inputFormat.Format.nSamplesPerSec, holdMs));
}

void AudioGraph::SetNoiseEnabled(bool enabled) {
    inputScan.SetNoiseEnabled(enabled);
}

void AudioGraph::SetActiveChannelsCallback(std::function<void(uint32_t)> callback) {
    onActiveChannelsChanged = std::move(callback);
}

uint32_t AudioGraph::ProcessingRate() const {
    const uint32_t rate = processingFormat.Format.nSamplesPerSec;
    return rate == 0 ? kDefaultRate : rate;
}

void AudioGraph::Reconfigure() noexcept {
    if (processingFormat.Format.nChannels == 0 || outputFormat.Format.nChannels == 0) return;
    const ScopedFlag hold(suspended);
    if (isTooWide) Build();
    const uint32_t rate = ProcessingRate();
    if (ConfigureNodes(rate)) {
        UpdateOutputAdapter();
    } else {
        PassInputThrough();
        isTooWide = true;
    }
    limiter.SetSampleRate(rate);
}

// False where a block turns out wider than the limits; the blocks behind it are not configured
// then. The graph's own blocks do not count: an adapter comes and goes with the output's width.
bool AudioGraph::ConfigureNodes(uint32_t rate) {
    uint64_t together = 0;
    for (GraphNode& node : processingList.Nodes()) {
        const bool isOwn = node.block->isInternal;
        if (!ConfigureNode(node, processingFormat, rate, isOwn ? UINT32_MAX : widestOutput))
            return false;
        if (!isOwn) together += static_cast<uint32_t>(node.block->GetOutputChannels());
        if (together > widestTogether) return false;
        if (NarrowsItsSum(node)) {
            GrowOrDie(mixBuffer, PlannedFrames(rate), node.block->GetInputChannels());
        }
    }
    return true;
}

void AudioGraph::UpdateOutputAdapter() {
    const ScopedFlag hold(suspended);
    const int32_t outWidth = outputFormat.Format.nChannels;
    DropUnfitPassThrough(processingFormat.Format.nChannels, outWidth);
    const int32_t width = ChainWidth();
    if (width == 0 || outWidth == 0 || width == outWidth) return;
    const WidenRecord widen = {static_cast<uint32_t>(outWidth), upmixMode};
    const BypassParameters narrow = {static_cast<uint32_t>(outWidth)};
    const bool isPlaced = outWidth > width ? PlaceAdapter(&widen, kStreamExpanderBlockTypeId)
                                           : PlaceAdapter(&narrow, kBypassBlockTypeId);
    if (!isPlaced) return PassInputThrough();
    ConfigureNode(processingList.Nodes().back(), processingFormat,
                  processingFormat.Format.nSamplesPerSec, UINT32_MAX);
}

// An invalid graph runs nothing but a lone adapter, and that only while input and output widths
// differ in the adapter's direction. After a change of formats it could write frames wider than the
// output has room for, so one that no longer fits goes.
void AudioGraph::DropUnfitPassThrough(int32_t width, int32_t outWidth) {
    if (valid || !outputBlock) return;
    const bool widens = outputBlock->GetTypeId() == kStreamExpanderBlockTypeId;
    if (width != outWidth && widens == (outWidth > width)) return;
    ReleaseList();
}

// No adapter could be had for the chain, a hostile width of its last block being the likely reason:
// the graph is invalid from now on. Its lone adapter, if it needs one, reads the input alone.
void AudioGraph::PassInputThrough() {
    const bool wasValid = valid;
    valid = false;
    ReleaseList();
    if (wasValid) UpdateOutputAdapter();
}

// The width that the chain delivers ahead of its adapter. Takes an adapter away that has become
// needless.
int32_t AudioGraph::ChainWidth() {
    if (!valid || !outputBlock) return processingFormat.Format.nChannels;
    if (outputBlock != adapterBlock || adapterBlock->inputs.empty()) {
        return outputBlock->GetOutputChannels();
    }
    const int32_t width = adapterBlock->inputs.front()->GetOutputChannels();
    if (width != 0 && width == outputFormat.Format.nChannels) DropAdapter();
    return width;
}

// The block ahead of the adapter writes straight into the output again.
void AudioGraph::DropAdapter() {
    const BlockReference source = adapterBlock->inputs.front();
    --processingList.Nodes().back().inputs.front().buffer->users;
    GraphNode* sourceNode = processingList.Find(source.get());
    if (sourceNode && sourceNode->outBuffer) {
        --sourceNode->outBuffer->users;
        sourceNode->outBuffer = nullptr;
    }
    network.Remove(adapterBlock);
    processingList.DropLast();
    outputBlock = source;
    adapterBlock.reset();
}

// Gives the record to the adapter in place when it is of that kind, else puts a new adapter behind
// the output block. False when no adapter, or no buffer ahead of it, can be had.
bool AudioGraph::PlaceAdapter(const void* record, const GUID& typeId) {
    if (outputBlock && outputBlock->isInternal && outputBlock->GetTypeId() == typeId) {
        outputBlock->SetParameters(record);
        return true;
    }
    const BlockReference adapter = CreateInternalBlock(record, typeId);
    if (!adapter) return false;
    if (outputBlock) network.Link(outputBlock, adapter);
    if (OrderFrom(adapter) != ProcessingList::Outcome::kOrdered) return false;
    outputBlock = adapter;
    adapterBlock = adapter;
    return true;
}

// Defined here so that the block base need not know the graph.
void AudioBlock::AnnounceWidth() {
    if (graph && !graph->IsSuspended()) graph->Reconfigure();
}

}  // namespace quorvel
