// Format records, and what a change of formats does to the buffers of a graph.
#include <gtest/gtest.h>

#include <cstring>

#include "engine/audio_graph.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::AddProbes;
using test::NumberedId;
using test::UsedBuffers;

constexpr uint32_t kMask51 = 0x60F;

TEST(AudioGraphFormats, FormatRecordsAreCopiedWithTheirExtension) {
    struct {
        WAVEFORMATEX format;
        uint8_t beyond[40];
    } record{};
    std::memset(record.beyond, 0xEE, sizeof(record.beyond));
    record.format = {3, 6, 44100, 44100 * 24, 24, 32, 0};
    const AudioFormat plain = CopyFormat(record.format);
    EXPECT_EQ(+plain.Format.nChannels, 6);
    EXPECT_EQ(+plain.dwChannelMask, kMask51);  // none given: the default of six channels
    EXPECT_TRUE(plain.SubFormat == GUID{});
    record.format.cbSize = 0xFFFF;  // more than the record has room for
    const AudioFormat extended = CopyFormat(record.format);
    EXPECT_EQ(+extended.dwChannelMask, 0xEEEEEEEEu);

    const AudioFormat made = MakeFloatFormat(8, 0, 96000);
    EXPECT_EQ(+made.Format.nBlockAlign, 32);
    EXPECT_EQ(+made.Format.nAvgBytesPerSec, 96000u * 32);
    EXPECT_EQ(+made.Format.cbSize, 22);
    EXPECT_TRUE(made.SubFormat == kIeeeFloatSubFormat);
}

TEST(AudioGraphFormats, RemovedAdapterGivesItsBufferBack) {
    AudioGraph graph;
    AddProbes(graph, 1, {});
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(6, 0, 48000);
    EXPECT_EQ(UsedBuffers(graph), 1);
    EXPECT_NE(graph.OutputBlock()->GetId(), NumberedId(1));
    graph.SetOutputFormat(2, 3, 48000);
    EXPECT_EQ(UsedBuffers(graph), 0);
    EXPECT_TRUE(graph.OutputBlock()->GetId() == NumberedId(1));
    EXPECT_EQ(graph.Network().Tails().size(), 1u);
}

TEST(AudioGraphFormatsDeathTest, BufferThatCannotGrowEndsTheProcess) {
    AudioGraph graph;
    auto probes = AddProbes(graph, 2, {{1, 2}});
    probes[0]->fixedWidth = 1 << 30;
    EXPECT_DEATH({ test::SetStereo(graph); }, "");
}

}  // namespace
}  // namespace quorvel
