#include "blocks/channels_combiner_block.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>

#include "base/channel_masks.h"
#include "base/memory_shortage.h"
#include "dsp/routing/channel_rows.h"
#include "engine/parameter_record.h"
#include "kinds/block_type_ids.h"

namespace quorvel {
namespace {

// The all-zero bytes of `frames` frames of `width` floats are samples of 0.0.
void Clear(float* out, int32_t frames, int32_t width) {
    if (frames <= 0 || width <= 0) return;
    std::memset(out, 0,
                sizeof(float) * static_cast<std::size_t>(frames) * static_cast<std::size_t>(width));
}

}  // namespace

ChannelsCombinerBlock::ChannelsCombinerBlock(const GUID& instanceId) : AudioBlock(instanceId) {
    typeId = kChannelsCombinerBlockTypeId;
}

int32_t ChannelsCombinerBlock::GetOutputChannels() const {
    return std::max(combinedChannels, static_cast<int32_t>(outputChannels));
}

uint32_t ChannelsCombinerBlock::GetChannelMask() const {
    return combinedMask;
}

void ChannelsCombinerBlock::SetInputsFormat(const std::vector<BlockInput>& blockInputs,
                                            int32_t minWidth, int32_t maxWidth, int32_t rate) {
    AudioBlock::SetInputsFormat(blockInputs, minWidth, maxWidth, rate);
    if (ReserveInputs(blockInputs.size())) {
        for (const BlockInput& input : blockInputs)
            inputWidths.push_back(input.source->GetOutputChannels());
    }
    UpdateLayout();
}

void ChannelsCombinerBlock::SetFormat(int32_t width, uint32_t mask, int32_t rate) {
    AudioBlock::SetFormat(width, mask, rate);
    if (ReserveInputs(1)) inputWidths.push_back(width);
    UpdateLayout();
}

void ChannelsCombinerBlock::ProcessInputs(const std::vector<BlockInput>& blockInputs, float* out,
                                          int32_t frames) QUORVEL_REAL_TIME {
    const int32_t stride = GetOutputChannels();
    const bool everyFloatIsPut = layoutDisjoint && layoutComplete && stride == combinedChannels;
    if (!everyFloatIsPut || blockInputs.size() < inputWidths.size()) Clear(out, frames, stride);
    const std::size_t count = std::min(blockInputs.size(), inputWidths.size());
    for (std::size_t i = 0; i < count;) {
        const std::size_t run = layoutDisjoint ? RunAt(i, count) : 1;
        PlaceRun({blockInputs.data() + i, run}, i, out, frames);
        i += run;
    }
}

void ChannelsCombinerBlock::Process(float* in, float* out, int32_t frames) QUORVEL_REAL_TIME {
    const int32_t stride = GetOutputChannels();
    if (out != in) Clear(out, frames, stride);
    const ChannelSpan span = SpanOf(0, static_cast<int32_t>(channels));
    if (!IsPlaced(span) || span.first > stride - span.width) return;
    const auto place = out == in ? AddRowsPlain : PutRows;
    place(in, span.width, out + span.first, stride, frames);
}

bool ChannelsCombinerBlock::CanProcessInPlace() const {
    return false;
}

bool ChannelsCombinerBlock::WantsUniformInputs() const {
    return false;
}

bool ChannelsCombinerBlock::SetParameterData(const void* data, uint32_t size) {
    if (!data || size < sizeof(ChannelsCombinerParameters) + sizeof(int32_t)) return false;
    const uint64_t count = ReadRecord<ChannelsCombinerParameters>(data).count;
    if (size < sizeof(ChannelsCombinerParameters) + sizeof(int32_t) * count) return false;
    return SetParameters(data);
}

bool ChannelsCombinerBlock::SetParameters(const void* record) {
    if (!record) return false;
    const std::size_t count = ReadRecord<ChannelsCombinerParameters>(record).count;
    try {
        channelOffsets.resize(count);
    } catch (const std::exception&) {
        NoteMemoryShortage();
        return false;
    }
    const auto* values = static_cast<const unsigned char*>(record) + sizeof(uint32_t);
    if (count) std::memcpy(channelOffsets.data(), values, sizeof(int32_t) * count);
    UpdateLayout();
    return true;
}

int32_t ChannelsCombinerBlock::OffsetOf(std::size_t index) const {
    return index < channelOffsets.size() ? channelOffsets[index] : 0;
}

ChannelSpan ChannelsCombinerBlock::SpanOf(std::size_t index, int32_t width) const {
    return {OffsetOf(index), width};
}

bool ChannelsCombinerBlock::IsPlaced(const ChannelSpan& span) {
    return span.first >= 0 && span.width >= 0 &&
           span.first <= std::numeric_limits<int32_t>::max() - span.width;
}

std::size_t ChannelsCombinerBlock::RunAt(std::size_t first, std::size_t end) const {
    const int32_t width = inputWidths[first];
    if (width < 1 || width > 2 || !IsPlaced(SpanOf(first, width))) return 1;
    const auto isRunOf = [&](std::size_t length) {
        int64_t offset = OffsetOf(first);
        for (std::size_t i = first; i < first + length; ++i, offset += width) {
            if (i >= end || inputWidths[i] != width || OffsetOf(i) != offset) return false;
            if (!IsPlaced(SpanOf(i, width))) return false;
        }
        return true;
    };
    if (width == 1 && isRunOf(4)) return 4;
    return isRunOf(2) ? 2 : 1;
}

void ChannelsCombinerBlock::PlaceRun(std::span<const BlockInput> run, std::size_t first, float* out,
                                     int32_t frames) QUORVEL_REAL_TIME {
    const ChannelSpan span = SpanOf(first, inputWidths[first]);
    if (!IsPlaced(span)) return;
    const int32_t stride = GetOutputChannels();
    const auto data = [run](std::size_t i) -> const float* { return run[i].buffer->data; };
    float* place = out + span.first;
    if (run.size() == 4) {
        PutFourColumns({data(0), data(1), data(2), data(3)}, place, stride, frames);
    } else if (run.size() == 2 && span.width == 2) {
        PutTwoPairs({data(0), data(1)}, place, stride, frames);
    } else if (run.size() == 2) {
        PutTwoColumns({data(0), data(1)}, place, stride, frames);
    } else if (layoutDisjoint) {
        PutRows(data(0), span.width, place, stride, frames);
    } else {
        AddRows(data(0), span.width, place, stride, frames);
    }
}

bool ChannelsCombinerBlock::ReserveInputs(std::size_t count) {
    inputWidths.clear();
    try {
        inputWidths.reserve(count);
        spans.reserve(count);
    } catch (const std::exception&) {
        NoteMemoryShortage();
        return false;
    }
    return true;
}

void ChannelsCombinerBlock::UpdateLayout() {
    spans.clear();
    for (std::size_t i = 0; i < inputWidths.size(); ++i) {
        const ChannelSpan span = SpanOf(i, inputWidths[i]);
        if (IsPlaced(span)) spans.push_back(span);
    }
    const ChannelLayout layout = MeasureLayout(spans);
    layoutComplete = layout.complete;
    layoutDisjoint = layout.disjoint;
    if (layout.width == combinedChannels) return;
    combinedChannels = layout.width;
    combinedMask = DefaultChannelMask(static_cast<uint32_t>(layout.width));
    AnnounceWidth();
}

}  // namespace quorvel
