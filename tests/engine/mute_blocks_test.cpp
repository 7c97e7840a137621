// Where a block writes nothing, the graph delivers silence and not what lay in memory.
#include <gtest/gtest.h>

#include <vector>

#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "tests/engine/kind_records.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::BytesOf;
using test::NumberedId;

// No block folds or renders these.
constexpr uint32_t kUnknownPair = 0x30;  // back left and right
constexpr uint32_t kFive = 0x3B;
constexpr uint32_t kSeven = 0x70F;

using Record = std::vector<uint8_t>;

Record EndlessAttack() {  // a look-ahead that no delay line holds
    LimiterParameters limiter;
    limiter.attackMs = 1e9f;
    return BytesOf(limiter);
}

// Without decoding, so that the layout goes to the renderer as it is.
Record Surround(int32_t surroundOn) {
    SurroundParameters surround;
    surround.surroundOn = surroundOn;
    surround.decoderParameters.decodeEnabled = 0;
    return BytesOf(surround);
}

Record Decoder() {
    MatrixDecoderParameters decoder;
    decoder.decodeEnabled = 0;
    return BytesOf(decoder);
}

struct MuteCase {
    const char* name;
    GUID type;
    Record record;
    Record laterRecord;  // given before the second buffer
    uint16_t width;
    uint32_t mask;
};

const std::vector<MuteCase> kCases = {
    {"Bypass", kBypassBlockTypeId, {}, {}, 2, kUnknownPair},
    {"BypassOfANarrowFrame", kBypassBlockTypeId, {}, {}, 1, 0x63F},
    {"Decoder", kMatrixDecoderBlockTypeId, Decoder(), {}, 5, kFive},
    {"SurroundOn", kSurroundBlockTypeId, Surround(1), {}, 7, kSeven},
    {"SurroundOff", kSurroundBlockTypeId, Surround(0), {}, 5, kFive},
    {"SurroundFading", kSurroundBlockTypeId, Surround(0), Surround(1), 5, kFive},
    {"Limiter", kLimiterBlockTypeId, EndlessAttack(), {}, 2, 0x3},
};

class MuteBlocks : public testing::TestWithParam<MuteCase> {};

void Give(AudioBlock& block, const Record& record) {
    if (!record.empty())
        block.SetParameterData(record.data(), static_cast<uint32_t>(record.size()));
}

// The block alone, at either end of a chain, between two others, and as one that mixes.
TEST_P(MuteBlocks, AreSilence) {
    const MuteCase& test = GetParam();
    const std::vector<test::Links> places = {
        {}, {{1, 2}}, {{2, 1}}, {{2, 1}, {1, 3}}, {{2, 3}, {2, 4}, {3, 1}, {4, 1}}};
    for (const test::Links& links : places) {
        AudioGraph graph;
        graph.SetNoiseEnabled(false);
        graph.SetUpdating(true);
        const auto block = graph.AddNewBlock(test.type, nullptr, 0, NumberedId(1));
        Give(*block, test.record);
        for (const auto& [source, destination] : links) {
            graph.AddNewBlock(kGainBlockTypeId, nullptr, 0, NumberedId(source));  // once each
            graph.AddNewBlock(kGainBlockTypeId, nullptr, 0, NumberedId(destination));
            graph.LinkById(NumberedId(source), NumberedId(destination));
        }
        graph.SetUpdating(false);
        graph.SetInputFormat(test.width, test.mask, 48000);
        graph.SetOutputFormat(2, 3, 48000);
        ASSERT_TRUE(graph.IsValid());
        for (const std::size_t frames : {480u, 700u}) {
            std::vector<float> in(frames * test.width, 0.5f), out(frames * 2, 0.25f);
            graph.Process(in.data(), out.data(), static_cast<int32_t>(frames));
            EXPECT_EQ(out, std::vector<float>(out.size())) << "links: " << links.size();
            Give(*block, test.laterRecord);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, MuteBlocks, testing::ValuesIn(kCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(DecoderInAGraph, IsSilentForTheBufferThatFindsNoMemory) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    Give(*graph.AddNewBlock(kMatrixDecoderBlockTypeId, nullptr, 0, NumberedId(1)), Decoder());
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(2, 3, 48000);
    std::vector<float> in(2 * 480, 0.25f), out(2 * 480, 0.25f);
    {
        const test::AllocationFaults faults(0);
        graph.Process(in.data(), out.data(), 480);
        ASSERT_TRUE(faults.HasFailed());
    }
    EXPECT_EQ(out, std::vector<float>(out.size()));
    graph.Process(in.data(), out.data(), 480);
    EXPECT_NE(out, std::vector<float>(out.size()));
}

// A pair of unknown speakers has no fold-down, but any pair can be decoded.
TEST(SurroundBlockInAGraph, AFadeOutOfSilenceIsHeard) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    const auto block = graph.AddNewBlock(kSurroundBlockTypeId, nullptr, 0, NumberedId(1));
    graph.SetInputFormat(2, kUnknownPair, 48000);
    graph.SetOutputFormat(2, 3, 48000);
    std::vector<float> in(2 * 480, 0.25f), out(2 * 480);
    for (const int32_t surroundOn : {0, 1}) {
        SurroundParameters record;
        record.surroundOn = surroundOn;
        block->SetParameters(&record);
        graph.Process(in.data(), out.data(), 480);
        EXPECT_EQ(out == std::vector<float>(out.size()), surroundOn == 0);
    }
}

}  // namespace
}  // namespace quorvel
