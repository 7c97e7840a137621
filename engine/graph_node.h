// One entry of a graph's processing list.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/block_input.h"

namespace quorvel {

struct GraphNode {
    std::shared_ptr<AudioBlock> block;
    std::vector<BlockInput> inputs;    // in the order of the block's own inputs
    AudioBuffer* outBuffer = nullptr;  // null: the block writes straight into the graph's output
    int32_t mixChannels = 0;           // channels to which narrower inputs are widened before they
                                       // are mixed; 0: inputs are not widened
    int32_t width = 0;                 // of the output, as last configured
};

}  // namespace quorvel
