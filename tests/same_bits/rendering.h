// The sound of one chain, with edits in mid-stream, as a digest.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::test {

struct RenderFormat {
    int32_t channels = 2;         // of the input; the output has 2
    uint32_t sampleRate = 48000;  // Hz
};

// SHA-256 over the samples that the chain makes of `input`, in buffers of 10 ms and of odd sizes.
// On the way the thresholds, gains and first bands of its blocks change, a block goes and comes
// back, and the width follows the channels in use.
std::string RenderDigest(const QuorvelAudioBlocksChain& chain, const RenderFormat& format,
                         const std::vector<float>& input);

}  // namespace quorvel::test
