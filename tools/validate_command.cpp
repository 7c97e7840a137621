#include <memory>

#include "profile/quorvel_audio_block.h"
#include "tools/chain_graph.h"
#include "tools/chain_options.h"
#include "tools/exit_status.h"
#include "tools/file_bytes.h"
#include "tools/graph_check.h"
#include "tools/guid_text.h"
#include "tools/json_place.h"
#include "tools/profile_file.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

struct Options {
    std::string profile{};
    std::vector<std::uint32_t> channels{};
    std::uint32_t sampleRate = 48000;
};

// Says every fault of one profile.
class Validation {
  public:
    explicit Validation(const Options& given) : options(given) {}

    // How many there are.
    std::size_t Run() {
        FaultList misread;
        isJson = LoadProfile(options.profile, named, &misread) == ProfileForm::kJson;
        for (const std::string& fault : misread)
            Tell(fault);
        for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
            if (!HasMisreadPart(misread, i)) CheckChain(i);
        return count;
    }

  private:
    static std::string ChainPlace(unsigned i) { return "$.chains[" + std::to_string(i) + "]"; }

    // What could be read of such a chain would only lead to further faults.
    bool HasMisreadPart(const FaultList& misread, unsigned i) const {
        for (const std::string& fault : misread)
            if (fault.starts_with(ChainPlace(i)) || fault.starts_with("$.chains:")) return true;
        return false;
    }

    void CheckChain(unsigned i) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        const auto faults = FindChainFaults(chain, named.names[i]);
        for (const ChainFault& fault : faults)
            Tell(i, "", fault);
        if (!faults.empty()) return;
        for (const std::uint32_t width : Widths(chain))
            CheckGraph(i, width);
    }

    // Those that the engine brings: of the headset, and of the microphone.
    std::vector<std::uint32_t> Widths(const QuorvelAudioBlocksChain& chain) const {
        if (!options.channels.empty()) return options.channels;
        if (chain.id == kMicrophoneChain) return {1, 2};
        return {2, 6, 8};
    }

    void CheckGraph(unsigned i, std::uint32_t width) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        const std::string with = " with " + std::to_string(width) + " channels in";
        AudioGraph graph;
        SetUpChainGraph(graph, chain, {.channels = width, .sampleRate = options.sampleRate});
        if (!graph.IsValid()) return Tell(i, with, {.what = "the graph cannot be built"});
        for (const ChainFault& fault : FindGraphFaults(graph, chain))
            Tell(i, with, fault);
    }

    void Tell(unsigned i, const std::string& with, const ChainFault& fault) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        std::string text = "chain " + std::to_string(chain.id) + with + ", " +
                           fault.Text(named.names[i]) +
                           (fault.advice.empty() ? "" : "; " + fault.advice);
        if (fault.block)
            text += "\n    block " + GuidText(chain.blocks.Item(unsigned(*fault.block)).id);
        if (isJson) text += (fault.block ? " at " : "\n    at ") + Place(i, fault);
        Tell(text);
    }

    static std::string Place(unsigned i, const ChainFault& fault) {
        if (fault.block) return ChainPlace(i) + ".blocks[" + std::to_string(*fault.block) + "]";
        if (fault.link) return ChainPlace(i) + ".links[" + std::to_string(*fault.link) + "]";
        return ChainPlace(i) + ".links";
    }

    void Tell(const std::string& fault) {
        ++count;
        WriteStandardOutput(options.profile + ": " + fault + "\n");
    }

    const Options& options;
    NamedProfile named{};
    bool isJson = false;
    std::size_t count = 0;
};

void Run(const Options& options) {
    const std::size_t faults = Validation(options).Run();
    if (faults == 0) return WriteStandardOutput(options.profile + ": valid\n");
    throw InvalidInput(options.profile + ": " + std::to_string(faults) +
                       (faults == 1 ? " fault" : " faults"));
}

}  // namespace

void AddValidateCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("validate", "Say every fault of a profile at once");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    command
        ->add_option("--channels", options->channels,
                     "Input widths to build the graph for; 2, 6 and 8 for the headset, 1 and 2\n"
                     "for the microphone when left out")
        ->check(CLI::Range(1, 8));
    command->add_option("--rate", options->sampleRate, "Sample rate in Hz")
        ->check(CLI::Range(8000u, 192000u))
        ->capture_default_str();
    command->footer("Example: quorvel validate profiles/games.json --channels 2 6");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
