#include "authoring/draw/graph_drawing.h"

#include <algorithm>
#include <map>

#include "authoring/document/printable.h"
#include "authoring/document/speakers.h"
#include "kinds/block_kinds.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

// By buffer; the first one is the graph's output, which the last block writes.
constexpr const char* kFills[] = {"#ffffff", "#d7e8f7", "#fbe3c8", "#d9f0d3",
                                  "#f3d9ea", "#f7f3c3", "#dfdaf3"};

// As a string of the DOT language. Line ends of names would end the label's line.
std::string Text(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : Printable(text)) {
        if (character == '"' || character == '\\') quoted += '\\';
        quoted += character;
    }
    return quoted + "\"";
}

// Lines of a label, each centred.
std::string Label(const std::vector<std::string>& lines) {
    std::string label = "\"";
    for (const std::string& line : lines) {
        const std::string text = Text(line);
        label.append(label.size() > 1 ? "\\n" : "").append(text, 1, text.size() - 2);
    }
    return label + "\"";
}

std::string Name(const char* what, std::size_t number) {
    return std::string(what).append(std::to_string(number));
}

class Drawing {
  public:
    Drawing(const AudioGraph& drawnGraph, const QuorvelAudioBlocksChain& drawnChain,
            const std::vector<std::string>& blockNames)
        : graph(drawnGraph), chain(drawnChain), names(blockNames) {}

    std::string Make(const std::vector<std::string>& titleLines) {
        text = "digraph chain {\n  rankdir=TB; labelloc=t; label=" + Label(titleLines) +
               ";\n  graph [fontname=\"DejaVu Sans\", fontsize=16];\n"
               "  node [fontname=\"DejaVu Sans\", fontsize=11, shape=box, style=\"filled\", "
               "fillcolor=\"#ffffff\"];\n  edge [fontname=\"DejaVu Sans\", fontsize=9];\n";
        const AudioFormat& out = graph.OutputFormat();
        Line("in [shape=oval, label=\"input\"]");
        for (const GraphNode& node : graph.Nodes())
            AddNode(node);
        Line("limiter [style=\"filled,dashed\", label=" +
             Label({"compresses above full scale, 10 : 1", "made by the graph"}) + "]");
        Line("out [shape=oval, label=\"output\"]");
        const AudioBlock* const last = graph.OutputBlock().get();
        const std::string end = last ? place[last] : "in";
        AddEdge(end, "limiter", out.Format.nChannels, out.dwChannelMask, {});
        AddEdge("limiter", "out", out.Format.nChannels, out.dwChannelMask, {.isInPlace = true});
        return text + "}\n";
    }

  private:
    struct Link {
        std::size_t number = 0;  // of the input, from 1, where there are several
        bool isInPlace = false;
    };

    void Line(const std::string& line) { text.append("  ").append(line).append(";\n"); }

    void AddNode(const GraphNode& node) {
        const AudioBlock& block = *node.block;
        const std::size_t number = place.size() + 1;
        const std::string id = Name("n", number);
        place[&block] = id;
        const std::size_t buffer = BufferNumber(node.outBuffer);
        std::vector<std::string> lines = Words(block);
        lines.front().insert(0, std::to_string(number) + "  ");
        lines.push_back(buffer == 0 ? "writes the output" : Name("buffer ", buffer));
        Line(id + " [label=" + Label(lines) + ", fillcolor=\"" +
             kFills[buffer % std::size(kFills)] + "\"" +
             (block.isInternal ? ", style=\"filled,dashed\"" : "") + "]");
        if (node.inputs.empty()) {
            const AudioFormat& in = graph.ProcessingFormat();
            AddEdge("in", id, in.Format.nChannels, in.dwChannelMask, {});
        }
        for (std::size_t i = 0; i < node.inputs.size(); ++i)
            AddInput(node, i, id);
    }

    std::vector<std::string> Words(const AudioBlock& block) const {
        const BlockKind* const kind = FindBlockKind(block.GetTypeId());
        const std::string kindName = kind ? kind->name : "sum";
        if (block.isInternal) return {kindName, "made by the graph"};
        return {NameOf(block), kindName};
    }

    void AddInput(const GraphNode& node, std::size_t number, const std::string& id) {
        const BlockInput& input = node.inputs[number];
        const AudioBlock& source = *input.source;
        const std::string from = place[&source];
        const auto width = static_cast<std::uint32_t>(source.GetOutputChannels());
        const Link link{.number = node.inputs.size() > 1 ? number + 1 : 0,
                        .isInPlace = node.outBuffer && input.buffer == node.outBuffer};
        if (!input.adapter) return AddEdge(from, id, width, source.GetChannelMask(), link);
        const std::string adapter = Name("a", ++adapters);
        Line(adapter + " [shape=oval, style=\"filled,dashed\", label=" +
             Label({"widened in its buffer", "made by the graph"}) + "]");
        AddEdge(from, adapter, width, source.GetChannelMask(), {.isInPlace = true});
        AddEdge(adapter, id, static_cast<std::uint32_t>(input.adapter->GetOutputChannels()),
                input.adapter->GetChannelMask(), link);
    }

    void AddEdge(const std::string& from, const std::string& to, std::uint32_t channels,
                 std::uint32_t mask, const Link& link) {
        std::vector<std::string> lines{
            std::to_string(channels).append(channels == 1 ? " channel" : " channels"),
            SpeakerNames(mask)};
        if (link.number > 0) lines.insert(lines.begin(), Name("input ", link.number));
        if (link.isInPlace) lines.push_back("in place");
        for (std::string& line : lines)
            line.insert(0, "   ");  // keeps it off the arrow
        const char* const heavy = link.isInPlace ? ", penwidth=3" : "";
        Line(from + " -> " + to + " [label=" + Label(lines) + heavy + "]");
    }

    // 0: the graph's output.
    std::size_t BufferNumber(const AudioBuffer* buffer) {
        if (!buffer) return 0;
        return buffers.emplace(buffer, buffers.size() + 1).first->second;
    }

    const std::string& NameOf(const AudioBlock& block) const {
        unsigned i = 0;
        while (i + 1 < chain.blocks.Count() && chain.blocks.Item(i).id != block.GetId())
            ++i;
        return names[i];
    }

    const AudioGraph& graph;
    const QuorvelAudioBlocksChain& chain;
    const std::vector<std::string>& names;
    std::string text{};
    std::map<const AudioBlock*, std::string> place{};  // the drawing's name of each block
    std::map<const AudioBuffer*, std::size_t> buffers{};
    std::size_t adapters = 0;
};

}  // namespace

std::string DrawGraph(const AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                      const std::vector<std::string>& names,
                      const std::vector<std::string>& titleLines) {
    return Drawing(graph, chain, names).Make(titleLines);
}

}  // namespace quorvel::tool
