#include "tools/graph_check.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "blocks/biquad_design.h"
#include "blocks/eq_filter_block.h"
#include "blocks/stream_expander_block.h"
#include "blocks/surround/renderer_input.h"
#include "engine/block_type_ids.h"
#include "engine/channels_combiner_block.h"
#include "engine/fold_down.h"
#include "profile/quorvel_audio_block.h"
#include "tools/speakers.h"

namespace quorvel::tool {
namespace {

// One block of the graph with what comes to it.
struct Placed {
    const AudioBlock& block;
    const QuorvelAudioBlock& stored;
    std::uint32_t width;  // of the input, or of the widest one
    std::uint32_t mask;
    std::uint32_t sampleRate;
};

struct Finding {
    std::string what{};  // empty: nothing is wrong
    std::string advice{};
};

std::string Speakers(const Placed& placed) {
    return std::to_string(placed.width) + " channels (" + SpeakerNames(placed.mask) + ")";
}

Finding CheckFoldDown(const Placed& placed) {
    const auto width = static_cast<std::uint32_t>(placed.block.GetOutputChannels());
    const FoldDown* const routine = FindFoldDown(placed.mask, width);
    if (routine && routine->inputChannels <= static_cast<std::int32_t>(placed.width)) return {};
    return {"has no fold-down from " + Speakers(placed) + " to " + std::to_string(width) +
                ": it writes nothing",
            "feed it a layout that has one, such as stereo, quad, 5.1 or 7.1"};
}

Finding CheckCombiner(const Placed& placed) {
    const auto* const combiner = dynamic_cast<const ChannelsCombinerBlock*>(&placed.block);
    if (!combiner || combiner->IsLayoutComplete()) return {};
    return {"leaves a channel of its " + std::to_string(placed.block.GetOutputChannels()) +
                " without an input: it stays silent",
            "give every input its channelOffsets, without gaps"};
}

Finding CheckExpander(const Placed& placed) {
    StreamExpanderParameters parameters;
    if (placed.stored.dataSize < sizeof(parameters)) return {};
    std::memcpy(&parameters, placed.stored.data, sizeof(parameters));
    if (parameters.targetChannels == 0 || parameters.targetChannels >= placed.width) return {};
    return {"is asked to narrow " + Speakers(placed) + " to " +
                std::to_string(parameters.targetChannels) + ": channels are cut off",
            "fold down with a BypassBlock"};
}

Finding CheckRenderer(const Placed& placed) {
    const RendererInput* const input = FindRendererInput(placed.mask);
    if (placed.width == 2 ||
        (input && input->inputChannels <= static_cast<std::int32_t>(placed.width)))
        return {};
    return {"does not render " + Speakers(placed) + ": it writes nothing",
            "feed it mono, stereo, quad, 5.1 or 7.1"};
}

Finding CheckBands(const Placed& placed) {
    const std::uint8_t* const bytes = placed.stored.data;
    for (std::size_t at = sizeof(std::uint32_t), i = 0;
         bytes && at + sizeof(FilterBand) <= placed.stored.dataSize;
         at += sizeof(FilterBand), ++i) {
        BiquadSection section;
        std::memcpy(&section.band, bytes + at, sizeof(FilterBand));
        const std::string band = "band " + std::to_string(i + 1);
        if (!ComputeCoefficients(section, placed.sampleRate))
            return {band + " has no frequency or no width: all its bands are bypassed",
                    "give the band both, or remove it"};
        if (section.band.frequency * 2.0f >= static_cast<float>(placed.sampleRate))
            return {band + " lies above half the sample rate", "remove it"};
    }
    return {};
}

using Check = Finding (*)(const Placed&);
struct CheckRow {
    GUID typeId;
    Check check;
};
constexpr CheckRow kChecks[] = {
    {kBypassBlockTypeId, CheckFoldDown},         {kChannelsCombinerBlockTypeId, CheckCombiner},
    {kStreamExpanderBlockTypeId, CheckExpander}, {kMatrixDecoderBlockTypeId, CheckRenderer},
    {kSurroundBlockTypeId, CheckRenderer},       {kBandPassFilterBlockTypeId, CheckBands},
    {kHighPassFilterBlockTypeId, CheckBands},    {kHighShelfFilterBlockTypeId, CheckBands},
    {kLowPassFilterBlockTypeId, CheckBands},     {kLowShelfFilterBlockTypeId, CheckBands},
    {kNotchFilterBlockTypeId, CheckBands},       {kPeakingEQFilterBlockTypeId, CheckBands},
};

Placed Place(const AudioGraph& graph, const GraphNode& node, const QuorvelAudioBlock& stored) {
    const AudioFormat& format = graph.ProcessingFormat();
    Placed placed{*node.block, stored, format.Format.nChannels, format.dwChannelMask,
                  format.Format.nSamplesPerSec};
    if (node.inputs.empty()) return placed;
    placed.width = 0;
    for (const BlockInput& input : node.inputs) {
        const auto width = static_cast<std::uint32_t>(input.source->GetOutputChannels());
        if (width <= placed.width) continue;
        placed.width = width;
        placed.mask = input.source->GetChannelMask();
    }
    return placed;
}

}  // namespace

std::vector<ChainFault> FindGraphFaults(const AudioGraph& graph,
                                        const QuorvelAudioBlocksChain& chain) {
    std::vector<ChainFault> faults;
    for (const GraphNode& node : graph.Nodes()) {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const QuorvelAudioBlock& stored = chain.blocks.Item(i);
            if (stored.id != node.block->GetId()) continue;
            const auto* row = std::ranges::find(kChecks, stored.typeId, &CheckRow::typeId);
            if (row == std::end(kChecks)) continue;
            Finding finding = row->check(Place(graph, node, stored));
            if (!finding.what.empty())
                faults.push_back({std::move(finding.what), std::move(finding.advice), i, {}});
        }
    }
    return faults;
}

}  // namespace quorvel::tool
