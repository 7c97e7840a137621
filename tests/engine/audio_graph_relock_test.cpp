// A graph that is given new formats, and one whose chain is loaded again as well, sounds like a
// fresh one: nothing of its earlier life is heard.
#include <gtest/gtest.h>

#include <span>
#include <vector>

#include "engine/audio_graph.h"
#include "kinds/block_type_ids.h"
#include "platform/random.h"
#include "tests/support/samples.h"
#include "tests/support/topology.h"

namespace quorvel {
namespace {

using test::NumberedId;

constexpr int32_t kFrames = 24;

struct Chain {
    const char* name;
    std::vector<GUID> kinds;  // of the blocks 1, 2, ...
    test::Links links;
};

const std::vector<Chain> kChains = {
    {"Empty", {}, {}},
    {"OneGain", {kGainBlockTypeId}, {}},
    {"Branches",
     {kGainBlockTypeId, kChannelExtractorBlockTypeId, kGainBlockTypeId, kMixerBlockTypeId},
     {{1, 2}, {1, 3}, {2, 4}, {3, 4}}},
    {"TwoEnds", {kGainBlockTypeId, kBypassBlockTypeId, kMixerBlockTypeId}, {{1, 2}, {1, 3}}},
    {"Invalid", {kGainBlockTypeId, kGainBlockTypeId}, {}},
};

struct Formats {
    AudioFormat in, out;
};

std::vector<Formats> AllFormats() {
    std::vector<Formats> all;
    for (uint16_t in = 1; in <= 8; ++in) {
        for (const uint32_t mask : {0u, 0x3Fu, 0xFFu}) {
            for (uint16_t out = 1; out <= 8; ++out)
                all.push_back({MakeFloatFormat(in, mask, 48000), MakeFloatFormat(out, 0, 48000)});
        }
    }
    return all;
}

void Load(AudioGraph& graph, const Chain& chain) {
    graph.SetUpdating(true);
    graph.Clear(false);
    for (uint32_t n = 0; n < chain.kinds.size(); ++n)
        graph.AddNewBlock(chain.kinds[n], nullptr, 0, NumberedId(n + 1));
    for (const auto& [source, destination] : chain.links)
        graph.LinkById(NumberedId(source), NumberedId(destination));
    graph.SetUpdating(false);
}

// Two buffers, loud enough for the limiter to work, in memory that holds old sound. Both runs of
// one seed get the same noise.
std::vector<float> Play(AudioGraph& graph, const Formats& formats) {
    platform::SeedRand(5);
    graph.SetFormats(&formats.in.Format, &formats.out.Format);
    std::vector<float> heard;
    for (const uint32_t seed : {1u, 2u}) {
        auto in =
            test::Noise(static_cast<std::size_t>(kFrames * formats.in.Format.nChannels), seed);
        for (float& sample : in)
            sample *= 4.0f;
        std::vector<float> out(static_cast<std::size_t>(kFrames * formats.out.Format.nChannels),
                               static_cast<float>(heard.size()) + 9.0f);
        graph.Process(in.data(), out.data(), kFrames);
        heard.insert(heard.end(), out.begin(), out.end());
    }
    return heard;
}

class Relock : public testing::TestWithParam<Chain> {};

TEST_P(Relock, SoundsLikeAFreshGraph) {
    const auto all = AllFormats();
    AudioGraph kept, loadedAgain;
    for (AudioGraph* graph : {&kept, &loadedAgain}) {
        graph->SetUpmixMode(2);
        Load(*graph, GetParam());
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Formats& next = all[i * 67 % all.size()];  // 67 and 192 have no common factor
        AudioGraph fresh;
        fresh.SetUpmixMode(2);
        Load(fresh, GetParam());
        const auto expected = Play(fresh, next);
        Load(loadedAgain, GetParam());
        SCOPED_TRACE(testing::Message() << next.in.Format.nChannels << " to "
                                        << next.out.Format.nChannels << ", step " << i);
        test::ExpectSameBits(Play(kept, next), expected);
        test::ExpectSameBits(Play(loadedAgain, next), expected);
        for (AudioGraph* graph : {&kept, &loadedAgain}) {  // something to forget
            graph->SetChannelDetectionHold(1);
            Play(*graph, all[i * 31 % all.size()]);
            graph->SetChannelDetectionHold(0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Relock, testing::ValuesIn(kChains),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace quorvel
