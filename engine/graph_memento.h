// What a graph was before a change, to go back to.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/audio_graph.h"

namespace quorvel {

// Holds the structure, the processing list and the formats of a graph. Blocks are held, not copied:
// what was told to a block itself, its width and its parameters, is not gone back on. Pooled
// buffers stay where they are and only their users are counted back.
class GraphMemento {
  public:
    // Throws std::bad_alloc.
    explicit GraphMemento(const AudioGraph& graph);

    // Makes `graph`, whose state this is, what it was. Once.
    void Restore(AudioGraph& graph) noexcept;

  private:
    BlockNetwork::Snapshot network;
    ProcessingList processingList;
    std::vector<std::uint32_t> bufferUsers;
    BlockReference outputBlock;
    BlockReference adapterBlock;
    bool suspended = false;
    bool valid = true;
    bool isTooWide = false;
    AudioFormat inputFormat{};
    AudioFormat processingFormat{};
    AudioFormat outputFormat{};
    std::uint32_t upmixMode = 0;
    std::uint32_t lastActiveMask = 0;
    InputScan inputScan;
    ChannelActivityDetector detector;
    std::uint32_t holdMs = 0;
};

}  // namespace quorvel
