#include "tools/chain_graph.h"

#include "engine/audio_format.h"
#include "engine/channel_masks.h"
#include "engine/graph_from_chain.h"
#include "tools/chain_check.h"
#include "tools/exit_status.h"

namespace quorvel::tool {
namespace {

// How a mono chain is spread over the output.
constexpr std::uint32_t kMicrophoneUpmix = 1;
constexpr std::uint32_t kHeadsetUpmix = 2;

AudioFormat Format(std::uint32_t channels, std::uint32_t mask, std::uint32_t sampleRate) {
    return MakeFloatFormat(static_cast<std::uint16_t>(channels),
                           mask != 0 ? mask : DefaultChannelMask(channels), sampleRate);
}

}  // namespace

ChosenChain ChooseChain(NamedProfile& named, const std::string& path, std::uint32_t number) {
    std::string numbers;
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        numbers += (i ? ", " : "") + std::to_string(chain.id);
        if (chain.id != number) continue;
        const std::string fault = FindChainFault(chain, named.names[i]);
        if (fault.empty()) return {chain, named.names[i]};
        throw InvalidInput(path + ": chain " + std::to_string(chain.id) + ", " + fault);
    }
    throw InvalidInput(path + ": has no chain " + std::to_string(number) + ": " +
                       (numbers.empty() ? "it is empty" : "it has " + numbers));
}

void SetUpChainGraph(AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                     const ChainFormat& format) {
    const AudioFormat in = Format(format.channels, format.mask, format.sampleRate);
    const AudioFormat out = Format(format.outChannels, 0, format.sampleRate);
    graph.SetNoiseEnabled(false);
    graph.SetUpmixMode(chain.id == kMicrophoneChain ? kMicrophoneUpmix : kHeadsetUpmix);
    BuildGraphFromChain(graph, &chain);  // forgets a hold time set before
    graph.SetChannelDetectionHold(0);
    graph.SetFormats(&in.Format, &out.Format);
}

}  // namespace quorvel::tool
