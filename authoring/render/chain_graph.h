// One chain of a profile, made into a graph as the processing objects make it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "authoring/document/named_profile.h"
#include "authoring/render/observed_block.h"
#include "base/guid_order.h"
#include "engine/audio_graph.h"

namespace quorvel::tool {

// The chains that the objects of the headset and of the microphone run.
inline constexpr std::uint32_t kHeadsetChain = 1;
inline constexpr std::uint32_t kMicrophoneChain = 2;

struct ChosenChain {
    const QuorvelAudioBlocksChain& chain;
    const std::vector<std::string>& names;  // of its blocks, in their order
};

// The chain with the number, checked; without a number the only one, or the headset's. Throws
// ToolError (invalid), which begins with `path`, when there is none or a graph cannot be made of
// it.
ChosenChain ChooseChain(NamedProfile& named, const std::string& path,
                        std::optional<std::uint32_t> number);

struct ChainFormat {
    std::uint32_t channels = 2;  // of the input
    std::uint32_t mask = 0;      // its speakers; 0: the default ones
    std::uint32_t outChannels = 2;
    std::uint32_t sampleRate = 48000;  // Hz
};

// Who watches which blocks, by id.
using Observers = std::map<GUID, BlockObserver*, GuidLess>;

// Builds the chain in a graph that is empty. Without noise, and every input channel is processed.
void SetUpChainGraph(AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                     const ChainFormat& format, const Observers& observers = {});

}  // namespace quorvel::tool
