// Buffers through a running graph.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "engine/audio_graph.h"
#include "engine/output_limiter.h"
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

TEST(AudioGraphProcess, EmptyGraphCopiesAndLimits) {
    AudioGraph graph;
    test::SetStereo(graph);
    std::vector<float> in(960), out(960, 9.0f);
    for (std::size_t i = 0; i < in.size(); ++i)
        in[i] = 2.0f * std::sin(0.1f * static_cast<float>(i));
    auto expected = in;
    OutputLimiter limiter;
    limiter.SetSampleRate(48000);
    limiter.Process(expected.data(), 480, 2);
    EXPECT_EQ(graph.Process(in.data(), out.data(), 480), 3u);
    EXPECT_EQ(out, expected);
    EXPECT_NE(out, in);
    auto inPlace = Frames(480, 2, {0});
    EXPECT_EQ(graph.Process(inPlace.data(), inPlace.data(), 480), 1u);
}

TEST(AudioGraphProcess, SilentInputGivesZeroAndTellsTheCallback) {
    AudioGraph graph;
    graph.SetInputFormat(6, 0x60F, 48000);
    graph.SetOutputFormat(6, 0x60F, 48000);
    std::vector<uint32_t> told;
    graph.SetActiveChannelsCallback([&](uint32_t mask) { told.push_back(mask); });
    std::vector<float> out(6 * 48);
    const auto run = [&](std::initializer_list<int32_t> active) {
        auto in = Frames(48, 6, active);
        return graph.Process(in.data(), out.data(), 48);
    };
    EXPECT_EQ(run({}), 0u);
    EXPECT_EQ(run({4, 5}), 0x600u);
    EXPECT_EQ(run({4, 5}), 0x600u);
    EXPECT_EQ(run({}), 0u);
    graph.Clear(false);
    EXPECT_EQ(run({2}), 0x4u);
    EXPECT_EQ(told, (std::vector<uint32_t>{0x600, 0, 0x4}));
}

TEST(AudioGraphProcess, LongBuffersGrowTheirMemoryAndShortOnesAgree) {
    std::vector<float> input(2 * 3000);
    for (std::size_t i = 0; i < input.size(); ++i) {
        input[i] = 0.9f * std::sin(0.01f * static_cast<float>(i * i % 7001));
    }
    const auto render = [&](int32_t blockFrames) {
        AudioGraph graph;
        graph.SetNoiseEnabled(false);
        auto probes = AddProbes(graph, 5, {{1, 2}, {1, 3}, {2, 4}, {3, 4}, {4, 5}});
        for (auto& probe : probes)
            probe->scale = 0.7f;
        probes[2]->fixedWidth = 6;
        graph.SetInputFormat(2, 3, 48000);
        graph.SetOutputFormat(6, 0x60F, 48000);
        auto in = input;
        std::vector<float> out(6 * 3000);
        for (int32_t f = 0; f < 3000; f += blockFrames) {
            const int32_t frames = std::min(blockFrames, 3000 - f);
            graph.Process(in.data() + 2 * f, out.data() + 6 * f, frames);
        }
        return out;
    };
    const auto whole = render(3000);
    for (const int32_t frames : {1, 7, 480, 481, 1024})
        EXPECT_EQ(render(frames), whole) << frames;
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

TEST(AudioGraphProcess, NarrowedInputKeepsTheFirstChannels) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    auto probes = AddProbes(graph, 1, {});
    graph.SetChannelDetectionHold(1);
    graph.SetInputFormat(8, 0x63F, 48000);
    graph.SetOutputFormat(2, 3, 48000);
    auto in = Frames(3, 8, {0, 1});
    std::vector<float> out(6);
    for (std::size_t f = 0; f < 3; ++f)
        in[8 * f + 1] = 0.1f * static_cast<float>(f + 1);
    graph.Process(in.data(), out.data(), 3);
    EXPECT_EQ(probes[0]->Width(), 2u);
    EXPECT_EQ(out, (std::vector<float>{0.25f, 0.1f, 0.25f, 0.1f * 2.0f, 0.25f, 0.1f * 3.0f}));
}

// Six channels with side speakers count as eight: what the input does not have is silent.
TEST(AudioGraphProcess, WidthAboveTheInputIsFilledWithSilence) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    auto probes = AddProbes(graph, 1, {});
    graph.SetChannelDetectionHold(5);
    graph.SetInputFormat(6, 0x60F, 48000);
    graph.SetOutputFormat(8, 0x63F, 48000);
    const auto filled = Frames(2, 6, {0, 5});
    const std::unique_ptr<float[]> in(new float[12]);  // exactly as large as the input
    std::ranges::copy(filled, in.get());
    std::vector<float> out(16, 9.0f);
    graph.Process(in.get(), out.data(), 2);
    EXPECT_EQ(probes[0]->Width(), 8u);
    EXPECT_EQ(out, Frames(2, 8, {0, 5}));
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
