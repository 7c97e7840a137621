// A graph and its model, given the same edits, formats and buffers, and compared after each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
