#include "blocks/stream_expander_block.h"

#include <gtest/gtest.h>

#include "base/channel_masks.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using namespace test;

constexpr GUID kId{};
constexpr float kA3 = 0.70794576f;

void SetRecord(StreamExpanderBlock& block, uint32_t target, uint32_t mode) {
    const StreamExpanderParameters record{target, mode};
    ASSERT_TRUE(block.SetParameterData(&record, sizeof(record)));
}

TEST(StreamExpanderBlock, SpreadsAFrameByWidthAndMode) {
    struct Case {
        std::vector<float> in;
        uint32_t target, mode;
        std::vector<float> out;
    };
    const std::vector<Case> cases = {
        {{1.0f}, 2, 2, {kA3, kA3}},
        {{1.0f}, 6, 2, {kA3, kA3, 0, 0, 0, 0}},
        {{1.0f}, 1, 2, {1.0f}},
        {{1.0f}, 10, 2, {kA3, kA3, 0, 0, 0, 0, 0, 0, 0, 0}},
        {{0.5f}, 4, 1, {0.5f, 0.5f, 0.5f, 0.5f}},
        {{0.5f}, 9, 1, {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}},
        {{0.5f}, 3, 0, {0.5f, 0, 0}},
        {{1, 2}, 6, 0, {1, 2, 0, 0, 0, 0}},
        {{1, 2}, 6, 1, {1, 2, 0, 0, 0, 0}},
        {{1, 2}, 6, 2, {1, 2, 0, 0, 0, 0}},
        {{1, 2}, 0, 2, {1, 2}},
        {{1, 2, 3}, 2, 0, {1, 2}},  // unsupported, bounded by the output frame
    };
    for (const Case& testCase : cases) {
        SCOPED_TRACE(testing::Message() << testCase.in.size() << " to " << testCase.target);
        StreamExpanderBlock block(kId);
        block.SetFormat(static_cast<int32_t>(testCase.in.size()), 0x1000, 48000);
        SetRecord(block, testCase.target, testCase.mode);
        EXPECT_EQ(block.GetOutputChannels(), static_cast<int32_t>(testCase.out.size()));
        const uint32_t mask = DefaultChannelMask(testCase.target);
        EXPECT_EQ(block.GetChannelMask(), mask ? mask : 0x1000);
        auto in = testCase.in;
        std::vector<float> out(12, kUntouched);
        block.Process(in.data(), out.data(), 1);
        ExpectSameBits(out, WithRoom(testCase.out, 12));
    }
}

// Every pair of widths against the plain definition.
TEST(StreamExpanderBlock, EqualsThePlainDefinitionInPlaceOrNot) {
    constexpr std::array kExpansions = {ExpandZeroFill, ExpandMonoToAll, ExpandMonoToStereo};
    const auto compare = [&](int32_t inWidth, int32_t outWidth, uint32_t mode, int32_t frames) {
        SCOPED_TRACE(testing::Message() << inWidth << " to " << outWidth << ", mode " << mode);
        const auto in = RandomSamples(static_cast<std::size_t>(frames * inWidth), 1);
        std::vector<float> expected(static_cast<std::size_t>(frames * outWidth));
        ExpandFramesPlain(kExpansions[mode], in.data(), expected.data(), frames, inWidth, outWidth);
        StreamExpanderBlock block(kId);
        block.SetFormat(inWidth, 0, 48000);
        SetRecord(block, static_cast<uint32_t>(outWidth), mode);
        ExpectInPlaceOrNot(in, expected,
                           [&](float* from, float* to) { block.Process(from, to, frames); });
    };
    for (int32_t inWidth = 1; inWidth <= 9; ++inWidth) {
        for (int32_t outWidth = 1; outWidth <= 10; ++outWidth) {
            for (const int32_t frames : {0, 1, 2, 7}) {
                for (uint32_t mode = 0; mode < (inWidth == 1 ? 3u : 1u); ++mode)
                    compare(inWidth, outWidth, mode, frames);
            }
        }
    }
}

TEST(StreamExpanderBlock, AModeAboveTwoKeepsTheExpansionInUse) {
    StreamExpanderBlock block(kId);
    const auto spread = [&](int32_t rate) {
        block.SetFormat(1, 0x4, rate);
        float in = 1.0f;
        std::vector<float> out(3);
        block.Process(&in, out.data(), 1);
        return out;
    };
    for (const uint32_t mode : {1u, 0u, 2u}) {
        SetRecord(block, 3, mode);
        const std::vector<float> before = spread(48000);
        SetRecord(block, 3, 3);
        ExpectSameBits(spread(44100), before);
    }
    // A wider input forgets it, and a mono one after that keeps the silent filling.
    block.SetFormat(2, 0x3, 48000);
    ExpectSameBits(spread(48000), {1.0f, 0.0f, 0.0f});
}

TEST(StreamExpanderBlock, WritesNothingUnconfiguredOrWithAHostileWidth) {
    std::vector<float> in(4, 1.0f), out(4, kUntouched);
    StreamExpanderBlock block(kId);
    block.Process(in.data(), out.data(), 2);
    block.SetFormat(2, 0x3, 48000);
    for (const uint32_t target : {0x80000000u, 0xFFFFFFFFu}) {
        SetRecord(block, target, 0);
        EXPECT_LT(block.GetOutputChannels(), 0);
        block.Process(in.data(), out.data(), 2);
        block.Process(in.data(), in.data(), 2);
    }
    ExpectSameBits(out, std::vector<float>(4, kUntouched));
    ExpectSameBits(in, std::vector<float>(4, 1.0f));
}

}  // namespace
}  // namespace quorvel
