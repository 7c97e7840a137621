// What a chain or a block does to sines, and how late: measured from the running graph.
//
// The sines have -60 dB; where that would come out near full scale, where the graph's own limiter
// waits, they have -180 dB. What depends on the level is left out: compressors and gates pass the
// sound as it is, a limiter only delays it. The noise that some blocks add starts alike in every
// measurement.
#pragma once

#include <complex>
#include <cstdint>
#include <vector>

#include "authoring/render/chain_graph.h"
#include "profile/quorvel_audio_block.h"
#include "profile/quorvel_audio_blocks_chain.h"

namespace quorvel::tool {

// Levels below it are told as it; also where nothing comes out at all.
inline constexpr double kSilenceDb = -120.0;

struct MeasuredResponse {
    std::uint32_t sampleRate = 48000;            // Hz
    std::uint32_t channels = 0;                  // of the output
    std::vector<double> frequencies{};           // Hz
    std::vector<std::complex<double>> values{};  // output over input: frequencies × channels
    std::int64_t latency = 0;                    // frames; of a chain as MeasureLatency tells it

    // At the frequency with that place in `frequencies`.
    std::complex<double> At(std::size_t place, std::uint32_t channel) const {
        return values[place * channels + channel];
    }
    double LevelDb(std::size_t place, std::uint32_t channel) const;  // kSilenceDb at least
};

// Each frequency, up to half the sample rate, is held until the response has settled, or its noise
// lets it settle no further; for eight seconds at most, in which a resonance of Q = 1000 settles
// from 400 Hz up. All input channels get the sine, or the channel `only` alone. Throws ToolError
// (invalid) when what comes out is not finite, or full scale at either level.
MeasuredResponse MeasureChain(const QuorvelAudioBlocksChain& chain, const ChainFormat& format,
                              const std::vector<double>& frequencies, std::int32_t only = -1);

// The same of one block alone, as wide as it makes the sound.
MeasuredResponse MeasureBlock(const QuorvelAudioBlock& block, const ChainFormat& format,
                              const std::vector<double>& frequencies);

// Frames until an impulse at the chain's input changes the output; -1 when it does not within
// 24 seconds.
std::int64_t MeasureLatency(const QuorvelAudioBlocksChain& chain, const ChainFormat& format);

// Whether the kind is a compressor, limiter or gate.
bool IsDynamics(const GUID& typeId);

// Whether the kind is a bank of filters.
bool IsFilter(const GUID& typeId);

}  // namespace quorvel::tool
