#include "engine/sample_guard.h"

#include <cmath>
#include <limits>

#include "engine/block_factory.h"
#include "engine/sample_check.h"
#include "kinds/block_kinds.h"
#include "kinds/block_type_ids.h"
#include "platform/random.h"
#include "tests/engine/kind_records.h"
#include "tests/support/probe_block.h"
#include "tests/support/samples.h"

namespace quorvel {
namespace {

using test::BytesOf;
using test::NumberedId;
using test::RecordOf;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kBad[] = {kInfinity, -kInfinity, NAN, 3e38f, 1e30f};
constexpr int32_t kFrames = 480;
constexpr uint16_t kWidths[] = {2, 6, 8};

// Multiplies by a factor that a test chooses; allocates nothing.
class Burst final : public AudioBlock {
  public:
    using AudioBlock::AudioBlock;
    void Process(float* in, float* out, int32_t frames) override {
        const int64_t samples = int64_t{frames} * GetInputChannels();
        for (int64_t i = 0; i < samples; ++i)
            out[i] = in[i] * (i < samples / 2 ? first : second);
    }
    float first = 1.0f;  // for the first half of a buffer
    float second = 1.0f;
};

// A chain behind a guard: a burst, then one block of each kind given.
struct GuardedChain {
    GuardedChain(std::initializer_list<const BlockKind*> kinds, uint16_t width) : channels(width) {
        graph.SetNoiseEnabled(false);
        platform::SeedRand(1);  // the stereo expander has its own noise
        graph.AddBlockAndConnect(burst);
        uint32_t number = 2;
        for (const BlockKind* kind : kinds) {
            const std::vector<uint8_t> record = RecordOf(*kind);
            const auto block =
                CreateBlockWithData(kind->typeId, record.empty() ? nullptr : record.data(),
                                    static_cast<uint32_t>(record.size()), NumberedId(number++));
            graph.AppendBlock(block, {});
        }
        graph.SetInputFormat(width, 0, 48000);
        graph.SetOutputFormat(2, 3, 48000);
    }

    std::vector<float> Run(std::vector<float> in) {
        std::vector<float> out(2 * kFrames);
        platform::SeedRand(1);
        mask = guard.Process(graph, in.data(), out.data(), kFrames);
        EXPECT_TRUE(AreFinite(out.data(), 2 * kFrames));
        return out;
    }

    // The `number`-th of a row of buffers, the same in every chain.
    std::vector<float> Sound(uint32_t number) const {
        return test::Noise(std::size_t{kFrames} * channels, number);
    }

    uint16_t channels;
    std::shared_ptr<Burst> burst = std::make_shared<Burst>(NumberedId(1));
    AudioGraph graph;
    SampleGuard guard;
    uint32_t mask = 0;
};

void RunAlike(GuardedChain& chain, GuardedChain& expected, uint32_t from) {
    for (uint32_t i = from; i < from + 4; ++i)
        test::ExpectSameBits(chain.Run(chain.Sound(i)), expected.Run(expected.Sound(i)));
}

TEST(SampleGuard, LetsABadSampleActAsZero) {
    for (const BlockKind& kind : kBlockKinds) {
        for (const uint16_t width : kWidths) {
            for (const float bad : kBad) {
                SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(width));
                GuardedChain chain({&kind}, width), expected({&kind}, width);
                RunAlike(chain, expected, 0);
                std::vector<float> dirty = chain.Sound(4), clean = dirty;
                dirty[200 * width + 1] = bad;
                clean[200 * width + 1] = 0.0f;
                test::ExpectSameBits(chain.Run(dirty), expected.Run(clean));
                RunAlike(chain, expected, 5);
                EXPECT_EQ(chain.guard.Caught().replaced, 1u);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

TEST(SampleGuard, StartsEveryKindAfresh) {
    for (const BlockKind& kind : kBlockKinds) {
        for (const uint16_t width : kWidths) {
            SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(width));
            GuardedChain chain({&kind}, width), fresh({&kind}, width);
            for (uint32_t i = 0; i < 3; ++i)
                chain.Run(chain.Sound(i));
            chain.graph.StartAfresh();
            RunAlike(chain, fresh, 3);
            if (testing::Test::HasFailure()) return;
        }
    }
}

// A fade ends too: the block then gives what it was fading to, a pair as it is.
TEST(SampleGuard, EndsAFade) {
    GuardedChain chain({FindBlockKind(kSurroundBlockTypeId)}, 2), plain({}, 2);
    const auto record = BytesOf(SurroundParameters{0, test::kDelayed});
    chain.graph.FindBlock(NumberedId(2))->SetParameters(record.data());
    chain.graph.StartAfresh();
    RunAlike(chain, plain, 0);
}

// Behind the burst, finite but absurd and then infinite or NaN, the chain sounds as a new one;
// surround kinds, which take such a sample for 0, as if the burst had been silence.
TEST(SampleGuard, LetsAnOverflowInTheChainCostOneBuffer) {
    for (const BlockKind& kind : kBlockKinds) {
        for (const uint16_t width : kWidths) {
            for (const float factor : {kInfinity, NAN}) {
                SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(width));
                GuardedChain chain({&kind}, width), fresh({&kind}, width), silenced({&kind}, width);
                for (uint32_t i = 0; i < 3; ++i) {
                    silenced.Run(silenced.Sound(i));
                    chain.Run(chain.Sound(i));
                }
                chain.burst->first = 1e37f;
                chain.burst->second = factor;
                silenced.burst->first = silenced.burst->second = 0.0f;
                const auto lost = chain.Run(chain.Sound(3));
                silenced.Run(chain.Sound(3));
                for (GuardedChain* one : {&chain, &silenced})
                    one->burst->first = one->burst->second = 1.0f;
                const bool isCleared = chain.guard.Caught().notFinite > 0;
                if (isCleared) test::ExpectSameBits(lost, std::vector<float>(2 * kFrames));
                RunAlike(chain, isCleared ? fresh : silenced, 4);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

// The surround block lets nothing bad through to the output, where it would be noticed.
TEST(SampleGuard, ClearsWhatIsHiddenBehindALaterBlock) {
    for (const GUID& hidden : {kPeakingEQFilterBlockTypeId, kCompressorBlockTypeId}) {
        for (const uint16_t width : {uint16_t{2}, uint16_t{8}}) {
            const BlockKind* const kind = FindBlockKind(hidden);
            const BlockKind* const surround = FindBlockKind(kSurroundBlockTypeId);
            GuardedChain chain({kind, surround}, width), fresh({kind, surround}, width);
            chain.burst->first = 0.0f;
            chain.burst->second = kInfinity;
            chain.Run(chain.Sound(0));
            EXPECT_EQ(chain.guard.Caught().notFinite, 0u);
            chain.burst->first = chain.burst->second = 1.0f;
            fresh.Run(std::vector<float>(std::size_t{kFrames} * width));
            SCOPED_TRACE(kind->name);
            RunAlike(chain, fresh, 1);
        }
    }
}

// An edit can leave a block that writes nothing with a buffer in which something bad remained.
class Unwriting final : public AudioBlock {
  public:
    using AudioBlock::AudioBlock;
    bool CanProcessInPlace() const override { return false; }
    void Process(float*, float*, int32_t) override {}
};

TEST(SampleGuard, ClearsTheBuffersBetweenBlocks) {
    const BlockKind* const gain = FindBlockKind(kGainBlockTypeId);
    GuardedChain chain({gain}, 2);
    chain.burst->second = NAN;
    chain.Run(chain.Sound(0));
    chain.Run(chain.Sound(1));
    const auto before = chain.guard.Caught().notFinite;
    chain.graph.Clear(false);
    chain.graph.AddBlockAndConnect(std::make_shared<Unwriting>(NumberedId(1)));
    chain.graph.AppendBlock(CreateBlock(gain->typeId, NumberedId(2)), {});
    chain.Run(chain.Sound(2));
    chain.Run(chain.Sound(3));
    EXPECT_EQ(chain.guard.Caught().notFinite, before);
}

TEST(SampleGuard, CountsWhatItCatches) {
    GuardedChain chain({}, 6);
    chain.graph.SetOutputFormat(6, 0, 48000);
    const auto run = [&](std::vector<float> in) {
        std::vector<float> out(6 * kFrames, 1.0f);
        return chain.guard.Process(chain.graph, in.data(), out.data(), kFrames);
    };
    std::vector<float> in(6 * kFrames);
    in[6 * 7 + 2] = 0.5f;
    in[6 * 9 + 3] = NAN;
    in[6 * 9 + 4] = kInfinity;
    EXPECT_EQ(run(in), 0x4u);  // the front centre: what is bad carries no signal
    EXPECT_EQ(run(std::vector<float>(6 * kFrames, NAN)), 0u);
    EXPECT_EQ(chain.guard.Caught().replaced, 2u + 6u * kFrames);
    EXPECT_EQ(chain.guard.Caught().firstFrame, -1);
    chain.guard.PassBy(1000);
    chain.burst->first = kInfinity;
    run(std::vector<float>(6 * kFrames, 0.5f));
    in.assign(6 * kFrames, 0.5f);
    in[0] = 0.0f;
    run(in);
    EXPECT_EQ(chain.guard.Caught().notFinite, 2u * 6u * kFrames);
    EXPECT_EQ(chain.guard.Caught().firstFrame, 2 * kFrames + 1000);
    EXPECT_EQ(chain.guard.Caught().firstChannel, 0);
}

}  // namespace
}  // namespace quorvel
