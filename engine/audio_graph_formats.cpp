// Formats, settings, and the adapter between the chain and the output.
#include <utility>

#include "engine/audio_graph.h"
#include "engine/node_configuration.h"
#include "engine/scoped_flag.h"
#include "engine/width_adapter.h"
#include "kinds/block_type_ids.h"

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
    limiter.StartAfresh();
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

void AudioGraph::Reconfigure() {
    if (throwsWithoutMemory) return Configure();
    [&]() noexcept { Configure(); }();
}

MemoryLack AudioGraph::Lack() const {
    return throwsWithoutMemory ? MemoryLack::kThrows : MemoryLack::kEndsProcess;
}

void AudioGraph::Configure() {
    if (processingFormat.Format.nChannels == 0 || outputFormat.Format.nChannels == 0) return;
    const bool mayBuild = !suspended;
    const ScopedFlag hold(suspended);
    ++configurations;
    if (isTooWide && mayBuild) Build();
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
        const uint32_t most = isOwn ? UINT32_MAX : widestOutput;
        if (!ConfigureNode(node, processingFormat, rate, most, Lack())) return false;
        if (!isOwn) together += static_cast<uint32_t>(node.block->GetOutputChannels());
        if (together > widestTogether) return false;
        if (NarrowsItsSum(node)) {
            GrowFor(mixBuffer, PlannedFrames(rate), node.block->GetInputChannels(), Lack());
        }
    }
    return true;
}

// Which adapter is in place depends on the widths alone, not on earlier formats. One that is still
// of the right kind is kept, because it remembers how it spread a mono chain.
void AudioGraph::UpdateOutputAdapter() {
    const ScopedFlag hold(suspended);
    const int32_t width = ChainWidth();
    const int32_t outWidth = outputFormat.Format.nChannels;
    if (outWidth == 0) return;
    const bool needsNone = width == outWidth || width == 0;
    const GUID& kind = outWidth > width ? kStreamExpanderBlockTypeId : kBypassBlockTypeId;
    if (adapterBlock && (needsNone || !(adapterBlock->GetTypeId() == kind))) DropAdapter();
    if (needsNone) return;
    const WidenRecord widen = {static_cast<uint32_t>(outWidth), upmixMode};
    const NarrowRecord narrow = {static_cast<uint32_t>(outWidth)};
    const void* record = &narrow;
    if (outWidth > width) record = &widen;
    if (!PlaceAdapter(record, kind)) return PassInputThrough();
    ConfigureNode(processingList.Nodes().back(), processingFormat,
                  processingFormat.Format.nSamplesPerSec, UINT32_MAX, Lack());
}

// The adapter of the chain could not be allocated, most likely because the last block asks for an
// absurd width. The graph becomes invalid, and a new adapter, if one is needed, reads the input.
void AudioGraph::PassInputThrough() {
    const bool wasValid = valid;
    valid = false;
    ReleaseList();
    if (wasValid) UpdateOutputAdapter();
}

// The last block ahead of the adapter; null when the adapter reads the input.
const AudioBlock* AudioGraph::LastOfChain() const {
    if (!adapterBlock) return outputBlock.get();
    const auto& inputs = processingList.Nodes().back().inputs;
    return inputs.empty() ? nullptr : inputs.front().source.get();
}

// The width that the chain delivers ahead of its adapter.
int32_t AudioGraph::ChainWidth() const {
    const AudioBlock* last = LastOfChain();
    return last ? last->GetOutputChannels() : processingFormat.Format.nChannels;
}

// The block ahead of the adapter, if any, writes straight into the output again.
void AudioGraph::DropAdapter() {
    outputBlock.reset();
    const auto& inputs = processingList.Nodes().back().inputs;
    if (!inputs.empty()) {
        outputBlock = inputs.front().source;
        --inputs.front().buffer->users;
        GraphNode& source = *processingList.Find(outputBlock.get());
        --source.outBuffer->users;
        source.outBuffer = nullptr;
    }
    network.Remove(adapterBlock);
    processingList.DropLast();
    adapterBlock.reset();
}

// Gives the record to the adapter in place, or puts a new one of that kind behind the output block.
// False when the adapter, or the buffer ahead of it, cannot be allocated.
bool AudioGraph::PlaceAdapter(const void* record, const GUID& typeId) {
    if (adapterBlock) {
        adapterBlock->SetParameters(record);
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
