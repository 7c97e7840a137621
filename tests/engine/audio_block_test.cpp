#include "engine/audio_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "base/channel_masks.h"

namespace quorvel {
namespace {

TEST(AudioBlock, EmptyCallbackThrows) {
    AudioBlock block(GUID{});
    block.SetFormat(1, 4, 48000);
    std::array<float, 2> samples{};
    const std::function<void(float*, float*)> empty;
    EXPECT_THROW(block.ProcessSamples(samples.data(), samples.data(), 2, empty),
                 std::bad_function_call);
}

// The graph's model tells that the sums are right.
TEST(AudioBlock, SumsNoFurtherThanItsFrames) {
    AudioBuffer buffer;
    ASSERT_TRUE(buffer.Grow(BufferBytes(100, 1)));
    std::fill_n(buffer.data, 100, 0.25f);
    AudioBlock block(GUID{});
    block.SetFormat(1, 4, 48000);
    for (int32_t frames = 0; frames < 70; ++frames) {
        std::vector<float> out(100, 99.0f), expected = out;
        std::fill_n(expected.begin(), frames, 0.5f);
        block.ProcessInputs({{{}, &buffer, {}}, {{}, &buffer, {}}}, out.data(), frames);
        EXPECT_EQ(out, expected);
    }
}

TEST(AudioBlock, SampleHelperRefusesUnequalWidths) {
    class Widening final : public AudioBlock {
      public:
        using AudioBlock::AudioBlock;
        int32_t GetOutputChannels() const override { return 2 * GetInputChannels(); }
    } block{GUID{}};
    block.SetFormat(2, 3, 48000);
    std::array<float, 8> in{}, out{};
    int calls = 0;
    block.ProcessSamples(in.data(), out.data(), 2, [&](float*, float*) { ++calls; });
    EXPECT_EQ(calls, 0);
    block.ProcessFrames(in.data(), out.data(), 2, [&](float* inFrame, float* outFrame) {
        EXPECT_EQ(inFrame - in.data(), 2 * calls);
        EXPECT_EQ(outFrame - out.data(), 4 * calls);
        ++calls;
    });
    EXPECT_EQ(calls, 2);
}

TEST(ChannelMasks, DefaultMaskOfEveryWidth) {
    const std::vector<uint32_t> expected = {0, 0x4, 0x3, 0xB, 0x33, 0x3B, 0x60F, 0x70F, 0x63F, 0};
    for (uint32_t channels = 0; channels < expected.size(); ++channels) {
        EXPECT_EQ(DefaultChannelMask(channels), expected[channels]) << channels;
    }
}

}  // namespace
}  // namespace quorvel
