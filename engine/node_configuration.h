// The configuration of one node of a processing list.
#pragma once

#include <cstdint>

#include "base/memory_shortage.h"
#include "engine/audio_format.h"
#include "engine/graph_node.h"

namespace quorvel {

// Tells the node's block its format, makes or retunes the adapters that widen narrower inputs when
// the block wants uniform ones, and grows the buffers concerned to 10 ms. The blocks upstream must
// be configured already. A node without inputs works at the width and mask of `chainFormat`; `rate`
// is in Hz. False, and the output has no room yet, when the block is then wider than `widestOutput`
// channels. Allocates; `lack` says what happens when a buffer cannot grow or an adapter cannot be
// made.
bool ConfigureNode(GraphNode& node, const AudioFormat& chainFormat, uint32_t rate,
                   uint32_t widestOutput, MemoryLack lack);

// Whether the block sums inputs that are wider than its output, so that the sum needs a place of
// its own.
bool NarrowsItsSum(const GraphNode& node);

// Makes room for `frames` frames of `channels` floats.
void GrowFor(AudioBuffer& buffer, int32_t frames, int32_t channels, MemoryLack lack);

// The same while sound is processed. Ends the process when allocation fails, because there would be
// no place for the audio.
void GrowOrDie(AudioBuffer& buffer, int32_t frames, int32_t channels);

}  // namespace quorvel
