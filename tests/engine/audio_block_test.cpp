#include "engine/audio_block.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>

#include "base/channel_masks.h"

namespace quorvel {
namespace {

TEST(AudioBlock, FreshBlockHasItsIdAndNoFormat) {
    const GUID id = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    AudioBlock block(id);
    EXPECT_TRUE(block.GetId() == id);
    EXPECT_EQ(block.GetInputChannels(), 0);
    EXPECT_EQ(block.GetOutputChannels(), 0);
    EXPECT_EQ(block.GetChannelMask(), 0u);
    EXPECT_EQ(block.graph, nullptr);
    EXPECT_FALSE(block.isInternal);
}

TEST(AudioBlock, EmptyCallbackThrows) {
    AudioBlock block(GUID{});
    block.SetFormat(1, 4, 48000);
    std::array<float, 2> samples{};
    const std::function<void(float*, float*)> empty;
    EXPECT_THROW(block.ProcessSamples(samples.data(), samples.data(), 2, empty),
                 std::bad_function_call);
}

// A mixed stretch must not depend on where the internal stretches end, nor may the sum of negative
// zeros lose the positive zero it starts from.
TEST(AudioBlock, SumsInputsInListOrderFromPositiveZero) {
    constexpr int32_t kFrames = 301;
    AudioBlock block(GUID{});
    block.SetFormat(2, 3, 48000);
    std::array<AudioBuffer, 3> buffers;
    std::vector<BlockInput> inputs(buffers.size());
    const std::array<float, 3> scale = {1e8f, 1.0f, -1e8f};
    for (std::size_t b = 0; b < buffers.size(); ++b) {
        ASSERT_TRUE(buffers[b].Grow(BufferBytes(kFrames, 2)));
        for (int i = 0; i < kFrames * 2; ++i) {
            buffers[b].data[i] = i % 5 == 0 ? -0.0f : scale[b] * static_cast<float>(i % 7);
        }
        inputs[b].buffer = &buffers[b];
    }
    std::vector<float> out(kFrames * 2 + 1, 99.0f);
    block.ProcessInputs(inputs, out.data(), kFrames);
    for (int i = 0; i < kFrames * 2; ++i) {
        float sum = 0.0f;
        for (const AudioBuffer& buffer : buffers)
            sum += buffer.data[i];
        ASSERT_EQ(out[static_cast<std::size_t>(i)], sum) << i;
        ASSERT_FALSE(std::signbit(out[static_cast<std::size_t>(i)]) && sum == 0.0f) << i;
    }
    EXPECT_EQ(out.back(), 99.0f);
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
