// A graph and its model, given the same edits, formats and buffers, and compared after each.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "base/memory_shortage.h"
#include "engine/audio_graph.h"
#include "platform/random.h"
#include "tests/support/graph_model/graph_model.h"

namespace quorvel::model {

// The blocks are those of the library and test::ProbeBlock.
class GraphPair {
  public:
    GraphPair();

    // Calls `change` with the graph and then with the model. It must do the same to both, and give
    // each blocks of its own. What they draw from platform::Rand is alike, and compared.
    template <typename Change>
    void Do(const char* step, Change&& change) {
        current = step;
        platform::SeedRand(++seed);
        change(graph);
        const int next = platform::Rand();
        platform::SeedRand(seed);
        change(plain);
        Expect(platform::Rand() == next, "draws");
        CompareState();
    }

    // Calls `change` with the graph alone, which must be what it was when the change fails in the
    // end: by an exception, or for want of memory that was noted on the way.
    template <typename Change>
    void DoInVain(const char* step, Change&& change) {
        struct Interruption {};
        current = step;
        for (const bool lacksMemory : {false, true}) {
            const auto changeAndFail = [&] {
                change(graph);
                if (!lacksMemory) throw Interruption();
                NoteMemoryShortage();
            };
            bool isUndone = false;
            const auto undo = [&] { isUndone = graph.IsSuspended(); };
            try {
                graph.ChangeWhole(changeAndFail, undo);
                isUndone = false;
            } catch (const Interruption&) {
            } catch (const std::bad_alloc&) {
            }
            Expect(isUndone, "undone while suspended");
        }
        CompareState();
    }

    // Gives a record to a block that the graph holds.
    void SetRecord(const GUID& id, const std::vector<uint8_t>& record);

    // Runs one buffer, `in` being frames × input channels. In place where asked for, but for what
    // the model leaves out.
    void Process(const Samples& in, int32_t frames, bool inPlace);

    const AudioGraph& Graph() const { return graph; }

    // What differed first, as step and property; empty while all agree.
    const std::string& Difference() const { return difference; }

  private:
    void Expect(bool agrees, const char* what);
    void CompareState();
    void CompareNode(const GraphNode& node, const GraphModel::Node& expected);
    bool MayRunInPlace() const;

    AudioGraph graph;
    GraphModel plain;
    std::vector<uint32_t> told;  // the masks that the graph's callback got
    uint32_t seed = 1;
    const char* current = "";
    std::string difference;
};

}  // namespace quorvel::model
