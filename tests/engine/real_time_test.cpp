// The real-time promise: in the steady state a graph allocates nothing. Under the real-time
// sanitizer the same tests also catch locks and system calls.
//
// The program has support/watched_new.cpp, so that operator new is counted too.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "engine/audio_graph.h"
#include "engine/sample_guard.h"
#include "kinds/block_kinds.h"
#include "kinds/block_type_ids.h"
#include "tests/engine/kind_records.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/probe_block.h"

namespace quorvel {
namespace {

using test::NumberedId;

// One block of every kind that a profile can hold, in parallel between a head and a tail.
void AddOneOfEachKind(AudioGraph& graph, bool withDefaults) {
    graph.SetUpdating(true);
    graph.AddNewBlock(kMixerBlockTypeId, nullptr, 0, NumberedId(1));
    const GUID tail = NumberedId(1000);
    graph.AddNewBlock(kMixerBlockTypeId, nullptr, 0, tail);
    uint32_t number = 2;
    for (const BlockKind& kind : kBlockKinds) {
        const GUID id = NumberedId(number++);
        const std::vector<uint8_t> record = test::RecordOf(kind);
        const bool isGiven = !record.empty() && (!withDefaults || kind.smallestRecord == 18);
        graph.AddNewBlock(kind.typeId, isGiven ? record.data() : nullptr,
                          static_cast<uint32_t>(record.size()), id);
        graph.LinkById(NumberedId(1), id);
        graph.LinkById(id, tail);
    }
    graph.SetUpdating(false);
}

// Every kind at full width, then with the input narrowed to what the signal needs.
TEST(RealTime, SteadyStateOfEveryKindKeepsThePromise) {
    for (const auto& [holdMs, withDefaults] :
         {std::pair{0u, true}, {10u, true}, {0u, false}, {10u, false}}) {
        AudioGraph graph;
        AddOneOfEachKind(graph, withDefaults);
        graph.SetChannelDetectionHold(holdMs);
        graph.SetInputFormat(8, 0x63F, 48000);
        graph.SetOutputFormat(2, 3, 48000);
        ASSERT_TRUE(graph.IsValid());
        std::vector<float> in(8 * 480), out(2 * 480);
        for (std::size_t i = 0; i < in.size(); i += 8)
            in[i] = 0.3f;
        graph.Process(in.data(), out.data(), 480);  // settles the width
        EXPECT_EQ(+graph.ProcessingFormat().Format.nChannels, holdMs ? 2 : 8);
        SampleGuard guard;
        const test::AllocationFaults allocations;
        for (int buffer = 0; buffer < 20; ++buffer) {
            in[1] = buffer % 2 == 0 ? NAN : 0.0f;
            EXPECT_NE(guard.Process(graph, in.data(), out.data(), 480), 0u);
            graph.Reset();
            if (buffer % 5 == 0) graph.StartAfresh();
        }
        EXPECT_EQ(allocations.Asked(), 0u);
    }
}

}  // namespace
}  // namespace quorvel
