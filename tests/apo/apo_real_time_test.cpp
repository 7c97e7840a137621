// The promise of the real-time thread.
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

}  // namespace
}  // namespace quorvel::test
