#include "engine/node_configuration.h"

#include <limits>

#include "engine/audio_block.h"
#include "engine/block_factory.h"
#include "engine/block_type_ids.h"
#include "engine/processing_list.h"
#include "engine/width_adapter.h"
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

void WidenInput(BlockInput& input, int32_t width, uint32_t rate) {
    const WidenRecord record = {static_cast<uint32_t>(width), 0};
    if (input.adapter && input.adapter->GetTypeId() == kStreamExpanderBlockTypeId) {
        input.adapter->SetParameters(&record);
    } else {
        input.adapter =
            CreateBlockWithParameters(&record, kStreamExpanderBlockTypeId, kInputAdapterId);
    }
    if (!input.adapter) platform::Fatal("no memory for an input adapter");
    input.adapter->SetFormat(input.source->GetOutputChannels(), input.source->GetChannelMask(),
                             static_cast<int32_t>(rate));
    GrowOrDie(*input.buffer, PlannedFrames(rate), width);
}

void ConfigureMixedNode(GraphNode& node, uint32_t rate) {
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
            WidenInput(input, widths.widest, rate);
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

void ConfigureNode(GraphNode& node, const AudioFormat& chainFormat, uint32_t rate) {
    if (node.inputs.size() < 2) {
        ConfigurePlainNode(node, chainFormat, rate);
    } else {
        ConfigureMixedNode(node, rate);
    }
    node.width = node.block->GetOutputChannels();
    if (node.outBuffer) GrowOrDie(*node.outBuffer, PlannedFrames(rate), node.width);
}

bool NarrowsItsSum(const GraphNode& node) {
    return node.inputs.size() > 1 &&
           node.block->GetInputChannels() > node.block->GetOutputChannels();
}

void GrowOrDie(AudioBuffer& buffer, int32_t frames, int32_t channels) {
    if (!buffer.Grow(BufferBytes(frames, channels))) {
        platform::Fatal("an intermediate audio buffer cannot grow");
    }
}

}  // namespace quorvel
