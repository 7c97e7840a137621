// One input of a block inside a graph.
#pragma once

#include <memory>

#include "base/audio_buffer.h"

namespace quorvel {

class AudioBlock;

struct BlockInput {
    std::shared_ptr<AudioBlock> source;   // the upstream block
    AudioBuffer* buffer = nullptr;        // what the upstream block writes; the graph owns it
    std::shared_ptr<AudioBlock> adapter;  // widens `buffer` in place; empty when it need not
};

}  // namespace quorvel
