#include "authoring/render/chain_graph.h"

#include "authoring/check/chain_check.h"
#include "authoring/document/exit_status.h"
#include "base/channel_masks.h"
#include "engine/audio_format.h"
#include "engine/block_factory.h"
#include "engine/graph_from_chain.h"
#include "profile/quorvel_audio_block.h"

namespace quorvel::tool {
namespace {

// How a mono chain is spread over the output.
constexpr std::uint32_t kMicrophoneUpmix = 1;
constexpr std::uint32_t kHeadsetUpmix = 2;

AudioFormat Format(std::uint32_t channels, std::uint32_t mask, std::uint32_t sampleRate) {
    return MakeFloatFormat(static_cast<std::uint16_t>(channels),
                           mask != 0 ? mask : DefaultChannelMask(channels), sampleRate);
}

// As BuildGraphFromChain does it, for blocks of known kinds.
void BuildObserved(AudioGraph& graph, const QuorvelAudioBlocksChain& chain,
                   const Observers& observers) {
    graph.SetUpdating(true);
    for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
        const QuorvelAudioBlock& stored = chain.blocks.Item(i);
        const auto watcher = observers.find(stored.id);
        if (watcher == observers.end()) {
            AddChainBlock(graph, stored);
            continue;
        }
        const auto block = CreateBlock(stored.typeId, stored.id);
        if (!block) continue;
        if (stored.data) block->SetParameterData(stored.data, stored.dataSize);
        graph.AddBlockAndConnect(std::make_shared<ObservedBlock>(block, *watcher->second));
    }
    for (unsigned i = 0; i < chain.links.Count(); ++i)
        graph.LinkById(chain.links.Item(i).sourceBlockId, chain.links.Item(i).destinationBlockId);
    graph.SetUpdating(false);
}

}  // namespace

ChosenChain ChooseChain(NamedProfile& named, const std::string& path,
                        std::optional<std::uint32_t> chosenNumber) {
    const bool isOnly = named.profile.chains.Count() == 1;
    const std::uint32_t number =
        chosenNumber.value_or(isOnly ? named.profile.chains.Item(0).id : kHeadsetChain);
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
                     const ChainFormat& format, const Observers& observers) {
    const AudioFormat in = Format(format.channels, format.mask, format.sampleRate);
    const AudioFormat out = Format(format.outChannels, 0, format.sampleRate);
    graph.SetNoiseEnabled(false);
    graph.SetUpmixMode(chain.id == kMicrophoneChain ? kMicrophoneUpmix : kHeadsetUpmix);
    if (observers.empty())
        BuildGraphFromChain(graph, &chain);
    else
        BuildObserved(graph, chain, observers);
    graph.SetChannelDetectionHold(0);
    graph.SetFormats(&in.Format, &out.Format);
}

}  // namespace quorvel::tool
