#include "engine/node_configuration.h"

#include <limits>
#include <new>

#include "engine/audio_block.h"
#include "engine/block_factory.h"
#include "engine/processing_list.h"
#include "engine/width_adapter.h"
#include "kinds/block_type_ids.h"
#include "platform/fatal.h"

namespace quorvel {
namespace {

struct InputWidths {
    int32_t narrowest = std::numeric_limits<int32_t>::max();
    int32_t widest = 0;
    uint32_t maskOfWidest = 0;
};

InputWidths Measure(const std::vector<BlockInput>& inputs) {
    InputWidths widths;
    for (const BlockInput& input : inputs) {
        const int32_t width = input.source->GetOutputChannels();
        if (width > widths.widest) {
            widths.widest = width;
            widths.maskOfWidest = input.source->GetChannelMask();
        }
        if (width < widths.narrowest) widths.narrowest = width;
    }
    return widths;
}

void FailFor(MemoryLack lack, const char* reason) {
    if (lack == MemoryLack::kThrows) throw std::bad_alloc();
    platform::Fatal(reason);
}

void WidenInput(BlockInput& input, int32_t width, uint32_t rate, MemoryLack lack) {
    const WidenRecord record = {static_cast<uint32_t>(width), 0};
    if (input.adapter && input.adapter->GetTypeId() == kStreamExpanderBlockTypeId) {
        input.adapter->SetParameters(&record);
    } else {
        input.adapter =
            CreateBlockWithParameters(&record, kStreamExpanderBlockTypeId, kInputAdapterId);
    }
    if (!input.adapter) FailFor(lack, "no memory for an input adapter");
    input.adapter->SetFormat(input.source->GetOutputChannels(), input.source->GetChannelMask(),
                             static_cast<int32_t>(rate));
    GrowFor(*input.buffer, PlannedFrames(rate), width, lack);
}

void ConfigureMixedNode(GraphNode& node, uint32_t rate, MemoryLack lack) {
    AudioBlock& block = *node.block;
    const InputWidths widths = Measure(node.inputs);
    const auto hz = static_cast<int32_t>(rate);
    node.mixChannels = 0;
    if (!block.WantsUniformInputs()) {
        block.SetInputsFormat(node.inputs, widths.narrowest, widths.widest, hz);
        return;
    }
    node.mixChannels = widths.widest;
    for (BlockInput& input : node.inputs) {
        if (input.source->GetOutputChannels() < widths.widest) {
            WidenInput(input, widths.widest, rate, lack);
        }
    }
    block.SetFormat(widths.widest, widths.maskOfWidest, hz);
}

void ConfigurePlainNode(GraphNode& node, const AudioFormat& chainFormat, uint32_t rate) {
    int32_t width = chainFormat.Format.nChannels;
    uint32_t mask = chainFormat.dwChannelMask;
    if (!node.inputs.empty()) {
        width = node.inputs.front().source->GetOutputChannels();
        mask = node.inputs.front().source->GetChannelMask();
    }
    node.block->SetFormat(width, mask, static_cast<int32_t>(rate));
    node.mixChannels = 0;
}

}  // namespace

bool ConfigureNode(GraphNode& node, const AudioFormat& chainFormat, uint32_t rate,
                   uint32_t widestOutput, MemoryLack lack) {
    if (node.inputs.size() < 2) {
        ConfigurePlainNode(node, chainFormat, rate);
    } else {
        ConfigureMixedNode(node, rate, lack);
    }
    node.width = node.block->GetOutputChannels();
    if (static_cast<uint32_t>(node.width) > widestOutput) return false;
    if (node.outBuffer) GrowFor(*node.outBuffer, PlannedFrames(rate), node.width, lack);
    return true;
}

bool NarrowsItsSum(const GraphNode& node) {
    return node.inputs.size() > 1 &&
           node.block->GetInputChannels() > node.block->GetOutputChannels();
}

void GrowFor(AudioBuffer& buffer, int32_t frames, int32_t channels, MemoryLack lack) {
    if (!buffer.Grow(BufferBytes(frames, channels)))
        FailFor(lack, "an intermediate audio buffer cannot grow");
}

void GrowOrDie(AudioBuffer& buffer, int32_t frames, int32_t channels) {
    GrowFor(buffer, frames, channels, MemoryLack::kEndsProcess);
}

}  // namespace quorvel
