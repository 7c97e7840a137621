// A graph edited step by step ends as one that is built afresh.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "engine/audio_graph.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::Links;
using test::MakeProbe;
using test::NumberedId;

constexpr uint32_t kIds = 7;

// What a graph should hold: its blocks, and its links in the order in which they were made.
struct Model {
    std::vector<uint32_t> blocks;
    Links links;

    bool Has(uint32_t block) const { return std::ranges::find(blocks, block) != blocks.end(); }

    void Link(uint32_t source, uint32_t destination) {
        const std::pair link(source, destination);
        if (!Has(source) || !Has(destination)) return;
        if (std::ranges::find(links, link) == links.end()) links.push_back(link);
    }

    void Remove(uint32_t block) {
        std::erase(blocks, block);
        std::erase_if(links, [&](auto& l) { return l.first == block || l.second == block; });
    }
};

std::shared_ptr<test::ProbeBlock> MakeNumbered(uint32_t number) {
    auto probe = MakeProbe(number);
    probe->scale = 1.0f / static_cast<float>(number);
    probe->offset = 0.001f * static_cast<float>(number);
    probe->canProcessInPlace = number % 3 != 0;
    return probe;
}

void Edit(AudioGraph& graph, Model& model, std::mt19937& random) {
    const auto a = static_cast<uint32_t>(1 + random() % kIds);
    const auto b = static_cast<uint32_t>(1 + random() % kIds);
    switch (random() % 6) {
        case 0:
        case 1:
            if (graph.AddBlockAndConnect(MakeNumbered(a))) model.blocks.push_back(a);
            break;
        case 2:
        case 3:
            graph.LinkById(NumberedId(std::min(a, b)), NumberedId(std::max(a, b)));
            model.Link(std::min(a, b), std::max(a, b));
            break;
        case 4:
            graph.UnlinkById(NumberedId(a), NumberedId(b));
            std::erase(model.links, std::pair(a, b));
            break;
        default:
            if (random() % 2 == 0) break;
            graph.RemoveBlockById(NumberedId(a));
            model.Remove(a);
            break;
    }
}

// Builds what the model holds in one go, block ids in another order than they were added.
void BuildAfresh(AudioGraph& graph, Model model) {
    std::ranges::sort(model.blocks, std::greater());
    graph.SetUpdating(true);
    for (const uint32_t block : model.blocks)
        graph.AddBlockAndConnect(MakeNumbered(block));
    for (const auto& [source, destination] : model.links) {
        graph.LinkById(NumberedId(source), NumberedId(destination));
    }
    graph.SetUpdating(false);
}

// Buffers by the order in which nodes first write them, so that two plans can be compared.
std::vector<std::size_t> BufferPlan(const AudioGraph& graph) {
    std::map<const AudioBuffer*, std::size_t> numbers;
    std::vector<std::size_t> plan;
    for (const GraphNode& node : graph.Nodes()) {
        for (const BlockInput& input : node.inputs)
            plan.push_back(numbers.at(input.buffer));
        plan.push_back(numbers.try_emplace(node.outBuffer, numbers.size()).first->second);
    }
    return plan;
}

std::vector<float> Render(AudioGraph& graph) {
    std::vector<float> in(64), out(64, -9.0f);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = 0.01f * static_cast<float>(i) - 0.3f;
    graph.SetNoiseEnabled(false);
    graph.Process(in.data(), out.data(), 32);
    return out;
}

TEST(AudioGraphEdits, RandomSequencesEndLikeFreshBuilds) {
    int valid = 0;
    for (uint32_t seed = 1; seed <= 200; ++seed) {
        std::mt19937 random(seed);
        AudioGraph edited;
        test::SetStereo(edited);
        Model model;
        for (uint32_t block = 1; block <= kIds; ++block) {  // a random tree, so that much is valid
            edited.AddBlockAndConnect(MakeNumbered(block));
            model.blocks.push_back(block);
            const auto parent = static_cast<uint32_t>(block > 1 ? 1 + random() % (block - 1) : 0);
            edited.LinkById(NumberedId(parent), NumberedId(block));
            model.Link(parent, block);
        }
        for (int step = 0; step < 25; ++step) {
            Edit(edited, model, random);
            AudioGraph fresh;
            test::SetStereo(fresh);
            BuildAfresh(fresh, model);
            ASSERT_EQ(edited.IsValid(), fresh.IsValid()) << seed << ":" << step;
            ASSERT_EQ(test::Order(edited), test::Order(fresh)) << seed << ":" << step;
            ASSERT_EQ(BufferPlan(edited), BufferPlan(fresh)) << seed << ":" << step;
            ASSERT_EQ(Render(edited), Render(fresh)) << seed << ":" << step;
            valid += fresh.IsValid() && fresh.Nodes().size() > 2;
        }
    }
    EXPECT_GT(valid, 300);  // the sequences must reach graphs worth comparing
}

}  // namespace
}  // namespace quorvel
