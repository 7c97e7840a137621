#include "engine/block_factory.h"
#include "kinds/block_kinds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "base/guid_order.h"
#include "kinds/block_type_ids.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/probe_block.h"

namespace quorvel {
namespace {

// Every kind makes a block that knows its kind and its id, and takes no record shorter than the
// smallest one of its kind.
TEST(BlockFactory, EveryKindKeepsWhatItsRowSays) {
    const GUID id = test::NumberedId(7);
    EXPECT_EQ(kBlockKinds.size(), 20u);
    for (const BlockKind& kind : kBlockKinds) {
        const auto block = CreateBlock(kind.typeId, id);
        ASSERT_TRUE(block) << kind.name;
        EXPECT_TRUE(block->GetTypeId() == kind.typeId) << kind.name;
        EXPECT_TRUE(block->GetId() == id) << kind.name;
        EXPECT_EQ(FindBlockKind(kind.typeId), &kind);
        std::vector<uint8_t> record(kind.smallestRecord);
        EXPECT_TRUE(block->SetParameterData(record.data(), kind.smallestRecord)) << kind.name;
        if (kind.smallestRecord == 0) continue;
        EXPECT_FALSE(block->SetParameterData(record.data(), kind.smallestRecord - 1)) << kind.name;
        EXPECT_FALSE(block->SetParameterData(nullptr, 1000)) << kind.name;
        EXPECT_FALSE(block->SetParameters(nullptr)) << kind.name;
    }
}

TEST(BlockFactory, UnknownKindsAndNullIds) {
    EXPECT_FALSE(IsKnownBlockType(kNullGuid));
    EXPECT_FALSE(CreateBlock(test::NumberedId(1), test::NumberedId(1)));
    const auto first = CreateBlock(kGainBlockTypeId, kNullGuid);
    const auto second = CreateBlock(kGainBlockTypeId, kNullGuid);
    ASSERT_TRUE(first && second);
    EXPECT_FALSE(first->GetId() == kNullGuid);
    EXPECT_FALSE(first->GetId() == second->GetId());
}

// A block that is a graph of its own: whichever allocation fails, there is no block or one that is
// silent or sounds right, and nothing is left behind. Right is 0.75 by five paths, a little
// limited.
TEST(BlockFactory, AnyAllocationOfANestedGraphMayFail) {
    std::size_t failAt = 0;
    for (bool hasFailed = true; hasFailed; ++failAt) {
        const test::AllocationFaults faults(failAt);
        auto block = CreateBlock(kStereoExpanderBlockTypeId, test::NumberedId(1));
        hasFailed = faults.HasFailed();
        if (block && hasFailed) {
            block->SetFormat(2, 3, 48000);
            float samples[2] = {0.75f, 0.75f};
            block->Process(samples, samples, 1);
            EXPECT_TRUE(samples[0] == 0.0f || std::fabs(samples[0] - 3.66f) < 0.01f) << samples[0];
        }
        block.reset();
        EXPECT_EQ(faults.Live(), 0u) << failAt;
    }
    EXPECT_GT(failAt, 60u);
}

}  // namespace
}  // namespace quorvel
