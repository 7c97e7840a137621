// What is wrong with the filter bands of a chain. No graph is needed to see it.
#pragma once

#include <cstdint>
#include <vector>

#include "authoring/check/chain_check.h"

namespace quorvel::tool {

// At that rate in Hz, each band of the filter blocks and of the stereo expanders that
//   has no frequency or no width
//   lies at or above half the rate
//   gives a filter that is not stable for another reason, such as a NaN or a negative width
std::vector<ChainFault> FindBandFaults(const QuorvelAudioBlocksChain& chain,
                                       std::uint32_t sampleRate);

}  // namespace quorvel::tool
