#include "tests/support/graph_model/graph_pair.h"

#include <algorithm>
#include <span>

#include "kinds/block_type_ids.h"
#include "tests/support/probe_block.h"
#include "tests/support/same_bits.h"

namespace quorvel::model {
namespace {

bool SameSamples(std::span<const float> a, std::span<const float> b) {
    return std::ranges::equal(a, b, [](float x, float y) { return test::SameBits(x, y); });
}

// Probes remember what they were told.
bool SameConfiguration(const AudioBlock& block, const AudioBlock& expected) {
    const auto* a = dynamic_cast<const test::ProbeBlock*>(&block);
    const auto* b = dynamic_cast<const test::ProbeBlock*>(&expected);
    return !a || (a->Width() == b->Width() && a->Mask() == b->Mask() && a->Rate() == b->Rate() &&
                  a->resets == b->resets);
}

}  // namespace

GraphPair::GraphPair() {
    graph.SetActiveChannelsCallback([this](uint32_t mask) { told.push_back(mask); });
}

void GraphPair::Expect(bool agrees, const char* what) {
    if (!agrees && difference.empty()) difference = std::string(current) + ": " + what;
}

void GraphPair::CompareState() {
    const AudioFormat& format = graph.ProcessingFormat();
    const Format& expected = plain.ProcessingFormat();
    Expect(graph.IsValid() == plain.IsValid(), "validity");
    Expect(graph.InputFormat().Format.nChannels == plain.InputFormat().width, "input width");
    Expect(graph.OutputFormat().Format.nChannels == plain.OutputFormat().width, "output width");
    Expect(format.Format.nChannels == expected.width, "processing width");
    Expect(format.dwChannelMask == expected.mask, "processing mask");
    Expect(format.Format.nSamplesPerSec == expected.rate, "rate");
    Expect(format.Format.nBlockAlign == expected.width * 4, "bytes per frame");
    Expect(told == plain.Told(), "masks told");
    Expect(graph.Nodes().size() == plain.Nodes().size(), "length of the list");
    for (std::size_t i = 0; i < graph.Nodes().size() && difference.empty(); ++i)
        CompareNode(graph.Nodes()[i], plain.Nodes()[i]);
}

void GraphPair::CompareNode(const GraphNode& node, const GraphModel::Node& expected) {
    const AudioBlock& block = *node.block;
    Expect(block.isInternal ? IsInternal(expected.id) : IdOf(block.GetId()) == expected.id,
           "order");
    Expect(block.GetOutputChannels() == expected.block->GetOutputChannels(), "width");
    Expect(block.GetChannelMask() == expected.block->GetChannelMask(), "mask");
    Expect(SameConfiguration(block, *expected.block), "configuration of a block");
    Expect(node.mixChannels == expected.mixWidth, "width of mixed inputs");
    Expect(node.inputs.size() == expected.inputs.size(), "number of inputs");
    for (std::size_t i = 0; i < node.inputs.size() && difference.empty(); ++i) {
        const GraphNode& source = graph.Nodes()[expected.inputs[i]];
        Expect(node.inputs[i].source == source.block, "inputs");
    }
}

void GraphPair::SetRecord(const GUID& id, const std::vector<uint8_t>& record) {
    const auto size = static_cast<uint32_t>(record.size());
    const bool taken = graph.FindBlock(id)->SetParameterData(record.data(), size);
    current = "set record";
    Expect(plain.SetRecord(id, record.data(), size) == taken, "record taken");
    CompareState();
}

// A combiner must not stand alone, nor be about to when a switch of width takes its adapter away.
bool GraphPair::MayRunInPlace() const {
    return graph.Nodes().size() > 2 || std::ranges::none_of(graph.Nodes(), [](auto& node) {
               return node.block->GetTypeId() == kChannelsCombinerBlockTypeId;
           });
}

void GraphPair::Process(const Samples& in, int32_t frames, bool inPlace) {
    const std::size_t outSamples =
        static_cast<std::size_t>(frames) * graph.OutputFormat().Format.nChannels;
    constexpr float kOld = -77.0f;  // what the caller's memory held before
    Samples scratch = in, out(outSamples + 1, kOld), modelIn = in, modelOut;
    inPlace = inPlace && MayRunInPlace();
    if (inPlace) scratch.resize(std::max(in.size(), outSamples), kOld);
    uint32_t mask = 0;
    const auto run = [&](auto& either) {
        if constexpr (std::is_same_v<decltype(either), AudioGraph&>) {
            mask = either.Process(scratch.data(), (inPlace ? scratch : out).data(), frames);
        } else {
            Expect(either.Process(modelIn, modelOut, frames) == mask, "returned mask");
        }
    };
    Do("process", run);
    if (!inPlace) Expect(SameSamples(scratch, modelIn), "input after noise");
    Expect(SameSamples(std::span(inPlace ? scratch : out).first(outSamples), modelOut),
           inPlace ? "output in place" : "output");
    Expect(out.back() == kOld, "what lies behind the output");
}

}  // namespace quorvel::model
