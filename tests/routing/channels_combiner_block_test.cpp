#include "blocks/channels_combiner_block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "base/channel_masks.h"
#include "dsp/routing/channel_layout.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using namespace test;

constexpr GUID kId{};

bool SetOffsets(ChannelsCombinerBlock& block, const std::vector<int32_t>& offsets) {
    std::vector<int32_t> record = {static_cast<int32_t>(offsets.size())};
    record.insert(record.end(), offsets.begin(), offsets.end());
    record.push_back(77);  // bytes behind the record do not matter
    return block.SetParameterData(record.data(), static_cast<uint32_t>(4 * record.size()));
}

// Sources of the given widths with random samples.
struct Inputs {
    Inputs(const std::vector<int32_t>& widths, int32_t frames) : buffers(widths.size()) {
        for (std::size_t i = 0; i < widths.size(); ++i) {
            auto source = std::make_shared<AudioBlock>(kId);
            source->SetFormat(widths[i], 0, 48000);
            list.push_back({source, &buffers[i], {}});
            const auto count = static_cast<std::size_t>(std::max(widths[i], 0) * frames);
            if (count == 0) continue;
            buffers[i].Grow(count * sizeof(float));
            const auto samples = RandomSamples(count, static_cast<uint32_t>(i));
            std::copy(samples.begin(), samples.end(), buffers[i].data);
        }
    }

    void Configure(ChannelsCombinerBlock& block, const std::vector<int32_t>& widths) const {
        const auto [narrowest, widest] = std::ranges::minmax(widths);
        block.SetInputsFormat(list, narrowest, widest, 48000);
    }

    std::vector<AudioBuffer> buffers;
    std::vector<BlockInput> list;
};

// The plain definition: all silent, then every input added in order.
std::vector<float> Combined(const Inputs& inputs, const std::vector<int32_t>& widths,
                            const std::vector<int32_t>& offsets, int32_t stride, int32_t frames) {
    std::vector<float> out(static_cast<std::size_t>(stride * frames), 0.0f);
    for (std::size_t i = 0; i < widths.size(); ++i) {
        const int32_t offset = i < offsets.size() ? offsets[i] : 0;
        if (offset < 0 || offset > stride) continue;
        for (int32_t f = 0; f < frames; ++f) {
            for (int32_t c = 0; c < widths[i]; ++c) {
                float& sample = out[static_cast<std::size_t>(f * stride + offset + c)];
                sample = inputs.buffers[i].data[f * widths[i] + c] + sample;
            }
        }
    }
    return out;
}

struct Layout {
    std::vector<int32_t> widths, offsets;
    int32_t outputWidth;
    uint32_t mask;
    bool complete;
};

const std::vector<Layout> kLayouts = {
    {{2, 2}, {0, 2}, 4, 0x33, true},
    {{2, 2}, {0, 1}, 3, 0xB, true},
    {{2, 2}, {2, 0}, 4, 0x33, true},
    {{2, 2}, {}, 2, 0x3, true},     // no offsets: all at channel 0
    {{2, 1}, {2}, 4, 0x33, false},  // the second at channel 0, channel 1 silent
    {{1, 1, 1, 1}, {0, 1, 2, 3}, 4, 0x33, true},
    {{1, 1, 1, 1, 1, 1}, {0, 1, 2, 3, 4, 5}, 6, 0x60F, true},
    {{1, 1, 1}, {0, 1, 2}, 3, 0xB, true},
    {{1, 1, 1, 1}, {3, 2, 1, 0}, 4, 0x33, true},
    {{1, 1, 2, 1}, {0, 1, 2, 4}, 5, 0x3B, true},
    {{1, 1, 1, 1}, {0, 1, 3, 4}, 5, 0x3B, false},
    {{2, 2, 2}, {0, 2, 4}, 6, 0x60F, true},
    {{2, 2, 2, 2}, {1, 3, 7, 5}, 9, 0, false},
    {{6, 2}, {0, 6}, 8, 0x63F, true},
    {{3, 5, 7}, {0, 1, 1}, 8, 0x63F, true},
    {{9, 2}, {0, 9}, 11, 0, true},
    {{2, 2}, {0, 2, 4, 6}, 4, 0x33, true},  // offsets without inputs
    {{2, 2}, {-1, 0}, 2, 0x3, true},
    {{6, 2}, {-3, 0}, 6, 0x3, true},  // the widest left out: frames keep its width
    {{1, 1}, {-1, 0}, 1, 0x4, true},
    {{2, 2}, {-1, INT32_MIN}, 2, 0, true},
    {{2, 2}, {0, INT32_MAX - 1}, 2, 0x3, true},  // would end past INT32_MAX
    {{2, 2}, {INT32_MAX, 1}, 3, 0xB, false},
    {{2, -5}, {0, 0}, 2, 0x3, true},  // no such width
};

TEST(ChannelsCombinerBlock, LayoutsAndSoundFollowTheOffsets) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(testing::PrintToString(layout.widths) + " at " +
                     testing::PrintToString(layout.offsets));
        for (const int32_t frames : {0, 1, 3, 4, 9}) {
            ChannelsCombinerBlock block(kId);
            EXPECT_FALSE(block.CanProcessInPlace());
            EXPECT_FALSE(block.WantsUniformInputs());
            Inputs inputs(layout.widths, frames);
            inputs.Configure(block, layout.widths);
            ASSERT_TRUE(layout.offsets.empty() || SetOffsets(block, layout.offsets));
            ASSERT_EQ(block.GetOutputChannels(), layout.outputWidth);
            EXPECT_EQ(block.GetChannelMask(), layout.mask);
            EXPECT_EQ(block.IsLayoutComplete(), layout.complete);

            const auto expected =
                Combined(inputs, layout.widths, layout.offsets, layout.outputWidth, frames);
            std::vector<float> out(expected.size() + 1, kUntouched);
            block.ProcessInputs(inputs.list, out.data(), frames);
            ExpectSameBits(out, WithRoom(expected, out.size()));
        }
    }
}

// Fewer inputs than configured: the missing one is silence, not what the buffer held.
TEST(ChannelsCombinerBlock, MissingInputsAreSilent) {
    const std::vector<int32_t> widths = {2, 2};
    Inputs inputs(widths, 3);
    ChannelsCombinerBlock block(kId);
    ASSERT_TRUE(SetOffsets(block, {0, 2}));
    inputs.Configure(block, widths);
    inputs.list.pop_back();
    std::vector<float> out(12, kUntouched);
    block.ProcessInputs(inputs.list, out.data(), 3);
    ExpectSameBits(out, Combined(inputs, {2}, {0}, 4, 3));
}

TEST(ChannelsCombinerBlock, ASingleInputIsPlacedAtTheFirstOffset) {
    for (const auto& [offset, width] : {std::pair{0, 2}, {3, 5}, {-1, 2}, {INT32_MAX, 2}}) {
        Inputs inputs({2}, 5);
        ChannelsCombinerBlock block(kId);
        ASSERT_TRUE(offset == 0 || SetOffsets(block, {offset}));
        block.SetFormat(2, 0x3, 48000);
        ASSERT_EQ(block.GetOutputChannels(), width) << offset;
        std::vector<float> out(static_cast<std::size_t>(width) * 5, kUntouched);
        block.Process(inputs.buffers[0].data, out.data(), 5);
        ExpectSameBits(out, Combined(inputs, {2}, {offset}, width, 5));
    }
}

// On one buffer an input is added onto itself; an input that the configured frame has no room for
// stays out.
TEST(ChannelsCombinerBlock, ProcessIsBoundedByTheOutputFrame) {
    ChannelsCombinerBlock block(kId);
    block.SetFormat(2, 0x3, 48000);
    std::vector<float> samples = {1, 2, 3, 4};
    block.Process(samples.data(), samples.data(), 2);
    ExpectSameBits(samples, {2, 4, 6, 8});

    const std::vector<int32_t> widths = {2, 8};
    ASSERT_TRUE(SetOffsets(block, {6, 0}));
    Inputs inputs(widths, 2);
    inputs.Configure(block, widths);
    ASSERT_EQ(block.GetOutputChannels(), 8);
    std::vector<float> out(16, kUntouched);
    block.Process(inputs.buffers[1].data, out.data(), 2);
    ExpectSameBits(out, std::vector<float>(16, 0.0f));
}

TEST(ChannelsCombinerBlock, ACountBeyondTheRecordIsRefusedAndKeepsTheOffsets) {
    ChannelsCombinerBlock block(kId);
    block.SetFormat(2, 0x3, 48000);
    ASSERT_TRUE(SetOffsets(block, {3}));
    for (const uint32_t count : {2u, 3u, 0x3FFFFFFFu, 0x40000000u, 0x40000001u, 0xFFFFFFFFu}) {
        const std::array<uint32_t, 2> record = {count, 0};
        EXPECT_FALSE(block.SetParameterData(record.data(), sizeof(record))) << count;
        EXPECT_EQ(block.GetOutputChannels(), 5);
    }
    const std::array<uint32_t, 2> none = {0, 0};
    EXPECT_FALSE(block.SetParameterData(none.data(), 4));
    EXPECT_TRUE(block.SetParameterData(none.data(), 8));
    EXPECT_EQ(block.GetOutputChannels(), 2);
}

// Hostile widths cost nothing: no memory and no time in proportion.
TEST(ChannelLayout, MeasuresSpansOfAnyWidth) {
    struct Case {
        std::vector<ChannelSpan> spans;
        int32_t width;
        bool complete, disjoint;
    } cases[] = {
        {{}, 0, true, true},
        {{{5, 0}}, 5, false, true},
        {{{0, INT32_MAX}}, INT32_MAX, true, true},
        {{{0, 1 << 30}, {1 << 30, (1 << 30) - 1}}, INT32_MAX, true, true},
        {{{4, 4}, {0, 4}}, 8, true, true},
        {{{4, 4}, {0, 5}}, 8, true, false},
        {{{0, 2}, {3, 2}}, 5, false, true},
        {{{0, 8}, {2, 2}, {6, 2}}, 8, true, false},
        {{{2, 1}, {2, 0}, {0, 2}}, 3, true, true},
    };
    for (Case& testCase : cases) {
        const ChannelLayout layout = MeasureLayout(testCase.spans);
        EXPECT_EQ(layout.width, testCase.width);
        EXPECT_EQ(layout.complete, testCase.complete);
        EXPECT_EQ(layout.disjoint, testCase.disjoint);
    }
}

}  // namespace
}  // namespace quorvel
