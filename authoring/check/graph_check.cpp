#include "authoring/check/graph_check.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "authoring/document/json_place.h"
#include "authoring/document/speakers.h"
#include "base/guid_order.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/channels_combiner_block.h"
#include "blocks/stream_expander_block.h"
#include "dsp/routing/fold_down.h"
#include "dsp/surround/renderer_input.h"
#include "kinds/block_type_ids.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

// What one block sends to another, or the graph's input.
struct Stream {
    std::uint32_t width = 0;
    std::uint32_t mask = 0;
    std::string from{};  // in words
};

// One block of the graph with what comes to it.
struct Placed {
    const AudioBlock& block;
    const QuorvelAudioBlock& stored;
    const std::vector<Stream>& inputs;  // at least one
    const Stream& widest;
};

struct Finding {
    std::string what{};
    std::string advice{};
};
using Findings = std::vector<Finding>;

std::string Counted(std::uint32_t channels) {
    return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

std::string Speakers(const Stream& stream) {
    return Counted(stream.width) + " (" + SpeakerNames(stream.mask) + ")";
}

bool CanFoldDown(const Stream& stream, std::uint32_t width) {
    const FoldDown* const routine = FindFoldDown(stream.mask, width);
    return routine && routine->inputChannels <= static_cast<std::int32_t>(stream.width);
}

void CheckFoldDown(const Placed& placed, Findings& findings) {
    const auto width = static_cast<std::uint32_t>(placed.block.GetOutputChannels());
    if (CanFoldDown(placed.widest, width)) return;
    findings.push_back({"has no fold-down from " + Speakers(placed.widest) + " to " +
                            std::to_string(width) + ": it writes nothing",
                        "feed it a layout that has one, such as stereo, quad, 5.1 or 7.1"});
}

void CheckExtractor(const Placed& placed, Findings& findings) {
    ChannelExtractorParameters parameters;
    if (placed.stored.dataSize >= sizeof(parameters))
        std::memcpy(&parameters, placed.stored.data, sizeof(parameters));
    const std::int32_t index = parameters.channelIndex;
    const std::uint32_t width = placed.widest.width;
    if (index >= 0 && static_cast<std::uint32_t>(index) < width) return;
    const std::string last = width > 1 ? " to " + std::to_string(width - 1) : "";
    findings.push_back({"takes channelIndex " + std::to_string(index) + " (counted from 0) of " +
                            Speakers(placed.widest) + ": it gives silence",
                        "give it a channelIndex of 0" + last + ", or a wider input"});
}

std::vector<std::int32_t> ChannelOffsets(const QuorvelAudioBlock& combiner) {
    ChannelsCombinerParameters head;
    if (combiner.dataSize < sizeof(head)) return {};
    std::memcpy(&head, combiner.data, sizeof(head));
    const std::size_t held = (combiner.dataSize - sizeof(head)) / sizeof(std::int32_t);
    std::vector<std::int32_t> offsets(std::min<std::size_t>(head.count, held));
    if (!offsets.empty())
        std::memcpy(offsets.data(), combiner.data + sizeof(head),
                    offsets.size() * sizeof(std::int32_t));
    return offsets;
}

void CheckOffsetsCount(const Placed& placed, std::size_t count, Findings& findings) {
    if (count >= placed.inputs.size()) return;
    std::string without;
    for (std::size_t i = count; i < placed.inputs.size(); ++i)
        without += (i > count ? ", " : "") + placed.inputs[i].from;
    findings.push_back({"has channelOffsets for " + std::to_string(count) + " of its " +
                            std::to_string(placed.inputs.size()) +
                            " inputs: at channel 0 it adds what comes from " + without,
                        "give every input its channelOffsets, in the order of the links"});
}

// Inputs that have no offset of their own are told already; one below 0 leaves its input out.
void CheckOverlaps(const Placed& placed, const std::vector<std::int32_t>& offsets,
                   Findings& findings) {
    struct Span {
        std::int64_t first;
        std::int64_t end;
        const Stream* input;
    };
    std::vector<Span> spans;
    for (std::size_t i = 0; i < std::min(offsets.size(), placed.inputs.size()); ++i) {
        const Stream& input = placed.inputs[i];
        if (offsets[i] >= 0)
            spans.push_back({offsets[i], std::int64_t{offsets[i]} + input.width, &input});
    }
    std::ranges::stable_sort(spans, {}, &Span::first);
    for (std::size_t i = 1, reach = 0; i < spans.size(); ++i) {
        if (spans[i - 1].end > spans[reach].end) reach = i - 1;
        if (spans[i].first >= spans[reach].end) continue;
        findings.push_back({"adds its inputs " + spans[reach].input->from + " and " +
                                spans[i].input->from + ", which overlap from channel " +
                                std::to_string(spans[i].first) + " on (counted from 0)",
                            "give them channelOffsets apart, or add them in a MixerBlock"});
    }
}

void CheckCombiner(const Placed& placed, Findings& findings) {
    const std::vector<std::int32_t> offsets = ChannelOffsets(placed.stored);
    CheckOffsetsCount(placed, offsets.size(), findings);
    CheckOverlaps(placed, offsets, findings);
    const auto* const combiner = dynamic_cast<const ChannelsCombinerBlock*>(&placed.block);
    const bool hasAllOffsets = offsets.size() >= placed.inputs.size();
    if (!hasAllOffsets || !combiner || combiner->IsLayoutComplete()) return;
    findings.push_back({"leaves a channel of its " +
                            std::to_string(placed.block.GetOutputChannels()) +
                            " without an input: it stays silent",
                        "give every input its channelOffsets, without gaps"});
}

void CheckExpander(const Placed& placed, Findings& findings) {
    StreamExpanderParameters parameters;
    if (placed.stored.dataSize < sizeof(parameters)) return;
    std::memcpy(&parameters, placed.stored.data, sizeof(parameters));
    if (parameters.targetChannels == 0 || parameters.targetChannels >= placed.widest.width) return;
    findings.push_back({"is asked to narrow " + Speakers(placed.widest) + " to " +
                            std::to_string(parameters.targetChannels) + ": channels are cut off",
                        "fold down with a BypassBlock"});
}

void CheckRenderer(const Placed& placed, Findings& findings) {
    const RendererInput* const input = FindRendererInput(placed.widest.mask);
    if (placed.widest.width == 2 ||
        (input && input->inputChannels <= static_cast<std::int32_t>(placed.widest.width)))
        return;
    findings.push_back({"does not render " + Speakers(placed.widest) + ": it writes nothing",
                        "feed it mono, stereo, quad, 5.1 or 7.1"});
}

using Check = void (*)(const Placed&, Findings&);
struct CheckRow {
    GUID typeId;
    Check check;
};
constexpr CheckRow kChecks[] = {
    {kBypassBlockTypeId, CheckFoldDown},           {kChannelExtractorBlockTypeId, CheckExtractor},
    {kChannelsCombinerBlockTypeId, CheckCombiner}, {kStreamExpanderBlockTypeId, CheckExpander},
    {kMatrixDecoderBlockTypeId, CheckRenderer},    {kSurroundBlockTypeId, CheckRenderer},
};

// The lowest `count` speakers of a mask.
std::uint32_t FirstSpeakers(std::uint32_t mask, std::uint32_t count) {
    std::uint32_t first = 0;
    for (; mask != 0 && count > 0; --count) {
        first |= mask & -mask;
        mask &= mask - 1;
    }
    return first;
}

// An adapter leaves the channels where they are, whoever's speakers those then are.
std::optional<Finding> CheckAdapter(const Stream& input, const Stream& widest) {
    const std::uint32_t taken = FirstSpeakers(widest.mask, input.width);
    if (taken == input.mask) return {};
    const bool isMono = input.width == 1;
    return Finding{"takes the " + Speakers(input) + " of " + input.from + " for " +
                       SpeakerNames(taken) + " of the widest input's " + Speakers(widest) +
                       ": it is heard from there",
                   isMono ? "widen it with a StreamExpanderBlock, whose monoMode spreads it"
                          : "bring the inputs to one layout first"};
}

// Finds the faults of one graph.
class GraphCheck {
  public:
    GraphCheck(const AudioGraph& graphToCheck, const QuorvelAudioBlocksChain& chainOfGraph,
               const std::vector<std::string>& blockNames)
        : graph(graphToCheck), chain(chainOfGraph), names(blockNames) {
        for (unsigned i = 0; i < chain.blocks.Count(); ++i)
            positionOf.emplace(chain.blocks.Item(i).id, i);
    }

    std::vector<ChainFault> FindFaults() {
        for (const GraphNode& node : graph.Nodes())
            CheckNode(node);
        return std::move(faults);
    }

  private:
    using Position = std::optional<std::size_t>;  // in the chain; empty: the graph's own block

    Position PositionOf(const AudioBlock& block) const {
        const auto found = positionOf.find(block.GetId());
        return block.isInternal || found == positionOf.end() ? Position() : found->second;
    }

    void CheckNode(const GraphNode& node) {
        const std::vector<Stream> inputs = Inputs(node);
        // The first of the widest, as the graph has it.
        const Stream& widest = *std::ranges::max_element(inputs, {}, &Stream::width);
        const Position position = PositionOf(*node.block);
        CheckAdapters(node, inputs, widest, position);
        if (node.block->isInternal) return CheckOutputAdapter(node, widest);
        if (!position) return;
        const QuorvelAudioBlock& stored = chain.blocks.Item(static_cast<unsigned>(*position));
        const auto* row = std::ranges::find(kChecks, stored.typeId, &CheckRow::typeId);
        if (row == std::end(kChecks)) return;
        Findings findings;
        row->check({*node.block, stored, inputs, widest}, findings);
        for (Finding& finding : findings)
            Add(std::move(finding), position);
    }

    std::vector<Stream> Inputs(const GraphNode& node) const {
        const AudioFormat& format = graph.ProcessingFormat();
        if (node.inputs.empty())
            return {{format.Format.nChannels, format.dwChannelMask, "the chain's input"}};
        std::vector<Stream> inputs;
        for (const BlockInput& input : node.inputs) {
            const Position from = PositionOf(*input.source);
            inputs.push_back({static_cast<std::uint32_t>(input.source->GetOutputChannels()),
                              input.source->GetChannelMask(),
                              from ? Quoted(names[*from]) : "the sum of its ends"});
        }
        return inputs;
    }

    void CheckAdapters(const GraphNode& node, const std::vector<Stream>& inputs,
                       const Stream& widest, const Position& position) {
        for (std::size_t i = 0; i < node.inputs.size(); ++i) {
            const bool isWidened = node.inputs[i].adapter && inputs[i].width < widest.width;
            std::optional<Finding> finding;
            if (isWidened) finding = CheckAdapter(inputs[i], widest);
            if (!finding) continue;
            if (!position) finding->what = "the sum of its ends " + finding->what;
            Add(std::move(*finding), position);
        }
    }

    // Told of the block that ends the chain, where there is one.
    void CheckOutputAdapter(const GraphNode& node, const Stream& input) {
        if (node.block->GetTypeId() != kBypassBlockTypeId || node.inputs.empty()) return;
        const std::uint32_t width = graph.OutputFormat().Format.nChannels;
        if (CanFoldDown(input, width)) return;
        const Position position = PositionOf(*node.inputs.front().source);
        const std::string end = position ? "ends the chain with " : "the sum of its ends has ";
        Add({end + Speakers(input) + ", which have no fold-down to the " + std::to_string(width) +
                 " of the output: nothing comes out",
             "end it with a layout that has one, such as stereo, quad, 5.1 or 7.1"},
            position);
    }

    void Add(Finding finding, const Position& position) {
        faults.push_back({std::move(finding.what), std::move(finding.advice), position, {}});
    }

    const AudioGraph& graph;
    const QuorvelAudioBlocksChain& chain;
    const std::vector<std::string>& names;
    std::map<GUID, std::size_t, GuidLess> positionOf;
    std::vector<ChainFault> faults;
};

}  // namespace

std::vector<ChainFault> FindGraphFaults(const AudioGraph& graph,
                                        const QuorvelAudioBlocksChain& chain,
                                        const std::vector<std::string>& names) {
    return GraphCheck(graph, chain, names).FindFaults();
}

}  // namespace quorvel::tool
