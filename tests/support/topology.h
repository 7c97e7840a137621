// Graphs written down as lists of numbered links.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "engine/audio_graph.h"
#include "tests/support/probe_block.h"

namespace quorvel::test {

using Links = std::vector<std::pair<uint32_t, uint32_t>>;

// Two channels at 48 kHz in and out, no noise.
inline void SetStereo(AudioGraph& graph) {
    graph.SetNoiseEnabled(false);
    graph.SetInputFormat(2, 3, 48000);
    graph.SetOutputFormat(2, 3, 48000);
}

// Adds probe blocks with the ids 1 to `count` and links them in list order, in one update.
inline std::vector<std::shared_ptr<ProbeBlock>> AddProbes(AudioGraph& graph, uint32_t count,
                                                          const Links& links) {
    std::vector<std::shared_ptr<ProbeBlock>> probes;
    graph.SetUpdating(true);
    for (uint32_t number = 1; number <= count; ++number) {
        probes.push_back(MakeProbe(number));
        graph.AddBlockAndConnect(probes.back());
    }
    for (const auto& [source, destination] : links) {
        graph.LinkById(NumberedId(source), NumberedId(destination));
    }
    graph.SetUpdating(false);
    return probes;
}

// The number behind an id made by NumberedId.
inline uint32_t NumberOf(const GUID& id) {
    uint32_t number = 0;
    for (int i = 4; i < 8; ++i)
        number = number << 8 | id.Data4[i];
    return number;
}

// The numbers of the processing list's blocks in order; 0 for a block that the graph made.
inline std::vector<uint32_t> Order(const AudioGraph& graph) {
    std::vector<uint32_t> order;
    for (const GraphNode& node : graph.Nodes()) {
        order.push_back(node.block->isInternal ? 0 : NumberOf(node.block->GetId()));
    }
    return order;
}

// Buffers that the processing list uses.
inline int UsedBuffers(const AudioGraph& graph) {
    int used = 0;
    for (std::size_t i = 0; i < graph.Buffers().Count(); ++i) {
        used += graph.Buffers().At(i).users != 0;
    }
    return used;
}

}  // namespace quorvel::test
