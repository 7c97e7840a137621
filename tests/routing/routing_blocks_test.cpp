// The gain, channel extractor and bypass blocks.
#include <gtest/gtest.h>

#include "base/channel_masks.h"
#include "blocks/bypass_block.h"
#include "blocks/channel_extractor_block.h"
#include "blocks/gain_block.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using namespace test;

constexpr GUID kId{};

template <typename Block, typename Record>
void Configure(Block& block, const Record& record, int32_t width, uint32_t mask) {
    block.SetFormat(width, mask, 48000);
    ASSERT_TRUE(block.SetParameterData(&record, sizeof(record)));
}

TEST(GainBlock, ScalesEverySampleInSinglePrecision) {
    for (const auto& [gainDb, gain] :
         {std::pair{-6.0f, 0.50118721f}, {0.0f, 1.0f}, {20.0f, 10.0f}}) {
        for (const int32_t width : {1, 2, 7, 8}) {
            for (const int32_t frames : {-1, 0, 1, 3, 16, 33}) {
                GainBlock block(kId);
                Configure(block, GainParameters{gainDb}, width, 0);
                const auto in = RandomSamples(static_cast<std::size_t>(width * 33), 2);
                std::vector<float> expected(
                    in.begin(),
                    in.begin() + static_cast<std::ptrdiff_t>(width) * std::max(frames, 0));
                for (float& x : expected)
                    x = gain * x;
                ExpectInPlaceOrNot(
                    in, expected, [&](float* from, float* to) { block.Process(from, to, frames); });
            }
        }
    }
    GainBlock fresh(kId);
    fresh.SetFormat(2, 0x3, 48000);
    const auto in = RandomSamples(40, 1);
    ExpectInPlaceOrNot(in, in, [&](float* from, float* to) { fresh.Process(from, to, 20); });
}

TEST(ChannelExtractorBlock, PicksTheChannelOrGivesSilence) {
    constexpr int32_t kFrames = 9;
    for (const int32_t width : {1, 2, 8}) {
        for (const int32_t index : {INT32_MIN, -1, 0, 1, 3, 7, 8, INT32_MAX}) {
            SCOPED_TRACE(testing::Message() << index << " of " << width);
            ChannelExtractorBlock block(kId);
            Configure(block, ChannelExtractorParameters{index}, width, 0x63F);
            EXPECT_EQ(block.GetOutputChannels(), 1);
            EXPECT_EQ(block.GetChannelMask(), 0x4u);
            const auto in = RandomSamples(static_cast<std::size_t>(kFrames * width), 2);
            std::vector<float> expected(kFrames, 0.0f);
            for (int32_t f = 0; f < kFrames && index >= 0 && index < width; ++f)
                expected[static_cast<std::size_t>(f)] =
                    in[static_cast<std::size_t>(f * width + index)];
            ExpectInPlaceOrNot(in, expected,
                               [&](float* from, float* to) { block.Process(from, to, kFrames); });
        }
    }
}

// What becomes of frames of ones, by width and mask of the input and the output width. "Nothing"
// is an empty frame.
struct BypassCase {
    int32_t width;
    uint32_t mask, outputWidth;
    std::vector<float> frame;
};

const std::vector<BypassCase> kBypassCases = {
    {1, 0x4, 2, {0.70794576f, 0.70794576f}},
    {2, 0x3, 1, {2 * 0.50118721f}},
    {2, 0x3, 2, {1, 1}},    // as wide: passes
    {2, 0x63F, 2, {1, 1}},  // the mask only needs a routine
    {2, 0x3B, 2, {}},       // and without one nothing passes
    {5, 0x3B, 2, {}},       // no routine
    {8, 0x63F, 3, {}},      // no routine for that width
    {8, 0x63F, 0xFFFFFFFF, {}},
    {8, 0x3, 2, {1, 1}},  // only the first two channels are read
    {6, 0x63F, 2, {}},    // mask beyond the frame
    {1, 0x3, 2, {}},
};

TEST(BypassBlock, FoldsPassesOrLeavesTheOutput) {
    for (const BypassCase& testCase : kBypassCases) {
        SCOPED_TRACE(testing::Message() << testCase.width << ", mask " << testCase.mask);
        // Parameters and format may come in either order.
        BypassBlock first(kId), second(kId);
        const BypassParameters parameters{testCase.outputWidth};
        Configure(first, parameters, testCase.width, testCase.mask);
        ASSERT_TRUE(second.SetParameters(&parameters));
        second.SetFormat(testCase.width, testCase.mask, 48000);
        for (BypassBlock* block : {&first, &second}) {
            EXPECT_EQ(block->GetInputChannels(), testCase.width);
            EXPECT_EQ(block->GetOutputChannels(), static_cast<int32_t>(testCase.outputWidth));
            EXPECT_EQ(block->GetChannelMask(), DefaultChannelMask(testCase.outputWidth));
            std::vector<float> in(static_cast<std::size_t>(2 * testCase.width), 1.0f);
            std::vector<float> out(16, kUntouched), expected = testCase.frame;
            expected.insert(expected.end(), testCase.frame.begin(), testCase.frame.end());
            block->Process(in.data(), out.data(), 2);
            ExpectSameBits(out, WithRoom(expected, 16));
        }
    }
}

}  // namespace
}  // namespace quorvel
