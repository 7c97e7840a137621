// The promise of the real-time thread.
#include <cmath>
#include <limits>

#include "apo/base_apo.h"
#include "blocks/limiter_block.h"
#include "tests/apo/apo_test.h"
#include "tests/support/allocation_faults.h"

namespace quorvel::test {
namespace {

using RealTimeObject = ApoTest;

TEST_F(RealTimeObject, AllocatesNothingInTheSteadyState) {
    for (const ClassRow& row : kClassRows) {
        QuorvelAudioProfile profile = GainProfile(row, -6.0f);
        ASSERT_EQ(application.SetProfileData(&profile), 0u);
        const auto object = Make(*row.id);
        ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
        EngineStream stream(*object.Get(), 6, 2);
        ASSERT_EQ(stream.Lock(), S_OK);
        stream.Gain();
        {
            const AllocationFaults allocations;
            for (int i = 0; i < 20; ++i)
                stream.Gain();
            EXPECT_EQ(allocations.Asked(), 0u);
        }
        stream.Process(BUFFER_SILENT);
        {
            const AllocationFaults allocations;
            for (int i = 0; i < 20; ++i)
                stream.Process(BUFFER_SILENT);
            EXPECT_EQ(allocations.Asked(), 0u);
        }
        stream.Unlock();
    }
}

// One bad sample, whatever its bits, is neither heard nor told of, and stays in no block.
TEST_F(RealTimeObject, OutlivesABadSample) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const ClassRow& row = kClassRows[0];
    QuorvelAudioProfile profile = GainProfile(row, 0.0f);
    QuorvelAudioBlocksChain& chain = *profile.GetChain(row.chain, true);
    QuorvelAudioBlock limiter(&profile, &chain, kLimiterBlockTypeId, NumberedGuid(10));
    LimiterParameters parameters{0.0f, 1, 50};
    limiter.SetData(&parameters, sizeof(parameters));
    chain.blocks.Item(0) = limiter;
    ASSERT_EQ(application.SetProfileData(&profile), 0u);
    const auto object = Make(*row.id);
    ASSERT_EQ(Initialize(*object.Get(), row), S_OK);
    EngineStream stream(*object.Get(), 2, 2);
    ASSERT_EQ(stream.Lock(), S_OK);
    for (const float bad : {kInfinity, -kInfinity, NAN, 3e38f, 1e30f}) {
        std::ranges::fill(stream.in, 0.0f);
        stream.in[100] = bad;
        stream.Process();
        EXPECT_TRUE(std::ranges::all_of(stream.out, [](float x) { return x == 0.0f; })) << bad;
        EXPECT_EQ(stream.in[100] == bad, false);
        stream.Gain();
        EXPECT_NEAR(stream.out.back() / 0.5f, 1.0f, 0.001f) << bad;
    }
    EXPECT_EQ(dynamic_cast<BaseAPO&>(*object.Get()).CaughtSamples().replaced, 5u);
    stream.Unlock();
}

}  // namespace
}  // namespace quorvel::test
