// Changes that are made whole or not at all, and blocks that are replaced.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "base/memory_shortage.h"
#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "tests/support/same_bits.h"
#include "tests/support/topology.h"

namespace quorvel::test {
namespace {

void AddGain(AudioGraph& graph, std::uint32_t number, float gainDb) {
    graph.AddNewBlock(kGainBlockTypeId, &gainDb, sizeof(gainDb), NumberedId(number));
}

void Link(AudioGraph& graph, std::uint32_t source, std::uint32_t destination) {
    graph.LinkById(NumberedId(source), NumberedId(destination));
}

// Gain 1 feeds 2 and 3, which gain 4 sums; the output is wider.
void Fill(AudioGraph& graph) {
    graph.SetNoiseEnabled(false);
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(6, 0x3F, 48000);
    for (const std::uint32_t number : {1u, 2u, 3u, 4u})
        AddGain(graph, number, -static_cast<float>(number));
    for (const auto& [source, end] : {std::pair{1u, 2u}, {1u, 3u}, {2u, 4u}, {3u, 4u}})
        Link(graph, source, end);
}

// All that a graph is, but for its blocks' own state.
std::string Describe(const AudioGraph& graph) {
    std::ostringstream text;
    text << graph.IsValid() << graph.InputFormat().Format.nChannels
         << graph.OutputFormat().Format.nChannels;
    const auto add = [&](const char* name, const auto& blocks) {
        text << name;
        for (const auto& block : blocks)
            if (!block->isInternal) text << " " << NumberOf(block->GetId());
    };
    add("\nheads", graph.Network().Heads());
    add("\ntails", graph.Network().Tails());
    for (const GraphNode& node : graph.Nodes()) {
        add("\ninputs", node.block->inputs);
        add(" outputs", node.block->outputs);
        text << (node.block->graph == &graph);
    }
    for (std::size_t i = 0; i < graph.Buffers().Count(); ++i)
        if (const auto users = graph.Buffers().At(i).users) text << " b" << users;
    text << (graph.OutputBlock() ? " out" : "");
    return text.str();
}

std::vector<float> Sound(AudioGraph& graph) {
    std::vector<float> in(960, 0.25f), out(480 * 6);
    graph.Process(in.data(), out.data(), 480);
    return out;
}

struct Interruption {};

TEST(AudioGraphChange, ThatFailsLeavesTheGraphAsItWas) {
    void (*const changes[])(AudioGraph&) = {
        [](AudioGraph& graph) { AddGain(graph, 5, -1.0f); },
        [](AudioGraph& graph) { graph.RemoveBlockById(NumberedId(2)); },
        [](AudioGraph& graph) { graph.UnlinkById(NumberedId(1), NumberedId(3)); },
        [](AudioGraph& graph) { Link(graph, 4, 1); },
        [](AudioGraph& graph) { graph.ReplaceBlock(kMixerBlockTypeId, nullptr, 0, NumberedId(3)); },
        [](AudioGraph& graph) {
            graph.SetUpdating(true);
            graph.Clear(false);
        },
        [](AudioGraph& graph) {
            graph.SetInputFormat(8, 0x63F, 44100);
            graph.SetOutputFormat(2, 3, 44100);
        },
    };
    for (const auto& change : changes) {
        SCOPED_TRACE(&change - changes);
        AudioGraph graph, untouched;
        Fill(graph);
        Fill(untouched);
        const std::string before = Describe(graph);
        bool isUndone = false;
        const auto undo = [&] { isUndone = graph.IsSuspended(); };
        EXPECT_THROW(graph.ChangeWhole(
                         [&] {
                             change(graph);
                             throw Interruption();
                         },
                         undo),
                     Interruption);
        EXPECT_TRUE(isUndone) << "while the graph does not configure";
        EXPECT_THROW(graph.ChangeWhole([&] {
            change(graph);
            NoteMemoryShortage();
        }),
                     std::bad_alloc);
        EXPECT_EQ(Describe(graph), before);
        ExpectSameBits(Sound(graph), Sound(untouched));
        for (AudioGraph* const edited : {&graph, &untouched}) {
            AddGain(*edited, 9, -6.0f);
            Link(*edited, 4, 9);
        }
        EXPECT_EQ(Describe(graph), Describe(untouched));
        ExpectSameBits(Sound(graph), Sound(untouched));
    }
}

// Wherever it stands, the new block has the links of the old one, in their order.
TEST(AudioGraphChange, ReplacedBlocksKeepTheirNeighbours) {
    const float gainDb = -12.0f;
    for (const std::uint32_t number : {1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(number);
        AudioGraph graph, fresh;
        Fill(graph);
        Fill(fresh);
        const std::string before = Describe(graph);
        const auto old = graph.FindBlock(NumberedId(number));
        graph.ChangeWhole([&] {
            EXPECT_TRUE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(number)));
        });
        EXPECT_EQ(Describe(graph), before);
        EXPECT_TRUE(old->inputs.empty() && old->outputs.empty() && !old->graph);
        fresh.FindBlock(NumberedId(number))->SetParameterData(&gainDb, 4);
        ExpectSameBits(Sound(graph), Sound(fresh));
    }
    AudioGraph graph;
    Fill(graph);
    EXPECT_FALSE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(7)));
    EXPECT_FALSE(graph.ReplaceBlock(NumberedId(7), &gainDb, 4, NumberedId(1)));

    const std::string before = Describe(graph);
    Link(graph, 2, 2);
    EXPECT_TRUE(graph.ReplaceBlock(kGainBlockTypeId, &gainDb, 4, NumberedId(2)));
    EXPECT_FALSE(graph.IsValid()) << "the new block feeds itself too";
    graph.UnlinkById(NumberedId(2), NumberedId(2));
    EXPECT_EQ(Describe(graph), before);
}

}  // namespace
}  // namespace quorvel::test
