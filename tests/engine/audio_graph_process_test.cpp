// What needs long buffers, or a graph that is not valid, and what the model therefore leaves out.
#include <gtest/gtest.h>

#include <vector>

#include "engine/audio_graph.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::AddProbes;

// Frames of `channels` whose channels listed in `active` carry 0.25.
std::vector<float> Frames(int32_t frames, int32_t channels, std::initializer_list<int32_t> active) {
    std::vector<float> samples(static_cast<std::size_t>(frames * channels));
    for (int32_t f = 0; f < frames; ++f) {
        for (const int32_t c : active)
            samples[static_cast<std::size_t>(f * channels + c)] = 0.25f;
    }
    return samples;
}

TEST(AudioGraphProcess, WidthFollowsTheSignalAfterTheHold) {
    AudioGraph graph;
    auto probes = AddProbes(graph, 1, {});
    graph.SetChannelDetectionHold(0xFFFFFFFF);  // five seconds
    graph.SetInputFormat(8, 0x63F, 48000);
    graph.SetOutputFormat(8, 0x63F, 48000);
    std::vector<float> out(8 * 480);
    const auto run = [&](std::initializer_list<int32_t> active) {
        auto in = Frames(480, 8, active);
        graph.Process(in.data(), out.data(), 480);
        return graph.ProcessingFormat().Format.nChannels;
    };
    EXPECT_EQ(run({}), 8);  // nothing detected yet
    EXPECT_EQ(run({0, 6}), 8);
    int buffers = 0;
    while (run({2}) == 8 && buffers < 1000)
        ++buffers;
    EXPECT_EQ(buffers, 500);  // one starts the count, 240000 frames hold
    EXPECT_EQ(probes[0]->Width(), 6u);
    EXPECT_EQ(+graph.ProcessingFormat().dwChannelMask, 0x60Fu);
    EXPECT_EQ(+graph.ProcessingFormat().Format.nBlockAlign, 24);
    EXPECT_EQ(run({7}), 8);

    graph.Clear(false);  // forgets the hold: the second buffer in a row narrows
    EXPECT_EQ(run({7}), 8);
    EXPECT_EQ(run({0}), 8);
    EXPECT_EQ(run({0}), 2);
    graph.SetChannelDetectionHold(0);
    EXPECT_EQ(run({0}), 8);
}

TEST(AudioGraphProcess, ResetReachesEveryBlock) {
    AudioGraph graph;
    const auto probes = AddProbes(graph, 3, {{1, 2}});  // block 3 keeps the graph invalid
    graph.Reset();
    for (const auto& probe : probes)
        EXPECT_EQ(probe->resets, 1);
}

}  // namespace
}  // namespace quorvel
