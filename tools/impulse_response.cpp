#include "tools/impulse_response.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "engine/audio_format.h"
#include "engine/block_type_ids.h"
#include "engine/channel_masks.h"

namespace quorvel::tool {
namespace {

constexpr float kLevel = 1.0f / 1024.0f;  // a power of two: dividing by it is exact

ImpulseResponse Measure(AudioGraph& graph, std::int32_t only) {
    const auto& in = graph.InputFormat().Format;
    ImpulseResponse response;
    response.sampleRate = in.nSamplesPerSec;
    response.channels = graph.OutputFormat().Format.nChannels;
    const std::size_t frames = response.sampleRate;
    std::vector<float> impulse(frames * in.nChannels);
    for (std::int32_t c = 0; c < in.nChannels; ++c)
        if (only < 0 || c == only) impulse[static_cast<std::size_t>(c)] = kLevel;
    response.samples.resize(frames * response.channels);
    graph.Process(impulse.data(), response.samples.data(), static_cast<std::int32_t>(frames));
    for (float& sample : response.samples)
        sample /= kLevel;
    return response;
}

}  // namespace

std::complex<double> ImpulseResponse::At(std::uint32_t channel, double frequency) const {
    const auto step = std::polar(1.0, -2.0 * std::numbers::pi * frequency / sampleRate);
    std::complex<double> turn = 1.0, sum = 0.0;
    for (std::size_t i = channel; i < samples.size(); i += channels, turn *= step)
        sum += turn * double{samples[i]};
    return sum;
}

std::int64_t ImpulseResponse::Onset() const {
    const auto first = std::ranges::find_if(samples, [](float sample) { return sample != 0.0f; });
    return first == samples.end() ? -1 : (first - samples.begin()) / channels;
}

// A mixer with one input, or with the sum of several, changes nothing else.
ImpulseResponse MeasureChain(const QuorvelAudioBlocksChain& chain, const ChainFormat& format,
                             std::int32_t only) {
    QuorvelAudioBlocksChain linear(chain);
    for (unsigned i = 0; i < linear.blocks.Count(); ++i) {
        QuorvelAudioBlock& block = linear.blocks.Item(i);
        if (IsDynamics(block.typeId)) block.typeId = kMixerBlockTypeId;
    }
    AudioGraph graph;
    SetUpChainGraph(graph, linear, format);
    return Measure(graph, only);
}

ImpulseResponse MeasureBlock(const QuorvelAudioBlock& block, const ChainFormat& format) {
    AudioGraph graph;
    graph.SetNoiseEnabled(false);
    graph.AddNewBlock(block.typeId, block.data, block.dataSize, block.id);
    const AudioFormat in = MakeFloatFormat(
        static_cast<std::uint16_t>(format.channels),
        format.mask != 0 ? format.mask : DefaultChannelMask(format.channels), format.sampleRate);
    graph.SetFormats(&in.Format, &in.Format);
    return Measure(graph, -1);
}

bool IsDynamics(const GUID& typeId) {
    constexpr GUID kKinds[] = {kCompressorBlockTypeId, kLimiterBlockTypeId, kNoiseGateBlockTypeId};
    return std::ranges::count(kKinds, typeId) > 0;
}

bool IsFilter(const GUID& typeId) {
    constexpr GUID kKinds[] = {kBandPassFilterBlockTypeId,  kHighPassFilterBlockTypeId,
                               kHighShelfFilterBlockTypeId, kLowPassFilterBlockTypeId,
                               kLowShelfFilterBlockTypeId,  kNotchFilterBlockTypeId,
                               kPeakingEQFilterBlockTypeId};
    return std::ranges::count(kKinds, typeId) > 0;
}

}  // namespace quorvel::tool
