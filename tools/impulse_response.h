// What a chain or a block makes of an impulse: its linear behaviour, measured from the running
// graph.
#pragma once

#include <complex>
#include <cstdint>
#include <span>
#include <vector>

#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"
#include "tools/chain_graph.h"

namespace quorvel::tool {

struct ImpulseResponse {
    std::uint32_t sampleRate = 48000;  // Hz
    std::uint32_t channels = 0;        // of the output
    std::vector<float> samples{};      // frames × channels, of an impulse of 1.0

    // The transfer function of one output channel at `frequency` Hz.
    std::complex<double> At(std::uint32_t channel, double frequency) const;

    // The first frame in which anything comes out; -1 when nothing does.
    std::int64_t Onset() const;
};

// Feeds one second: an impulse of -60 dB in the first frame of every input channel, or of the
// channel `only`. Compressors, limiters and gates are left out, since what they do depends on the
// level; so is the graph's own limiter, which -60 dB does not reach.
ImpulseResponse MeasureChain(const QuorvelAudioBlocksChain& chain, const ChainFormat& format,
                             std::int32_t only = -1);

// The same of one block alone, as wide as it makes the sound.
ImpulseResponse MeasureBlock(const QuorvelAudioBlock& block, const ChainFormat& format);

// Whether the kind is one of those that are left out.
bool IsDynamics(const GUID& typeId);

// Whether the kind is a bank of filters.
bool IsFilter(const GUID& typeId);

}  // namespace quorvel::tool
