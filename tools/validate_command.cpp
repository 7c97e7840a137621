#include <algorithm>
#include <map>
#include <memory>
#include <utility>

#include "authoring/check/band_check.h"
#include "authoring/check/graph_check.h"
#include "authoring/check/number_check.h"
#include "authoring/document/exit_status.h"
#include "authoring/document/file_bytes.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/json_place.h"
#include "authoring/document/profile_file.h"
#include "authoring/render/chain_graph.h"
#include "engine/limits.h"
#include "profile/quorvel_audio_block.h"
#include "tools/chain_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

struct Options {
    std::string profile{};
    std::vector<std::uint32_t> channels{};
    std::uint32_t sampleRate = 48000;
};

// "2 channels", "2, 6 and 8 channels".
std::string WidthsText(const std::vector<std::uint32_t>& widths) {
    std::string text;
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (i > 0) text += i + 1 < widths.size() ? ", " : " and ";
        text += std::to_string(widths[i]);
    }
    return text + (widths.back() == 1 ? " channel" : " channels");
}

// Says every fault of one profile. What shows only in the built graph is looked for in chains
// without any other fault.
class Validation {
  public:
    explicit Validation(const Options& given) : options(given) {}

    // How many there are.
    std::size_t Run() {
        LoadProfile(options.profile, named, &reading);
        for (const std::string& fault : reading.faults)
            Tell(fault);
        for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
            CheckChain(i);
        return count;
    }

  private:
    // The same in graphs of several widths.
    struct GraphFault {
        ChainFault fault;
        std::vector<std::uint32_t> widths;
    };

    // Null for a chain of the text form.
    const ChainSource* Source(unsigned i) const {
        return i < reading.chains.size() ? &reading.chains[i] : nullptr;
    }

    void CheckChain(unsigned i) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        const ChainSource* const source = Source(i);
        const auto faults =
            FindChainFaults(chain, named.names[i], source ? source->gaps : ChainGaps{});
        for (const ChainFault& fault : faults)
            Tell(i, "", fault);
        for (const ChainFault& fault : FindNumberFaults(chain))
            Tell(i, "", fault);
        for (const ChainFault& fault : FindBandFaults(chain, options.sampleRate))
            Tell(i, "", fault);
        const bool isWhole = !source || source->isWhole;
        if (isWhole && faults.empty()) CheckGraphs(i);
    }

    // Those that the engine brings: of the headset, and of the microphone.
    std::vector<std::uint32_t> Widths(const QuorvelAudioBlocksChain& chain) const {
        if (!options.channels.empty()) return options.channels;
        if (chain.id == kMicrophoneChain) return {1, 2};
        return {2, 6, 8};
    }

    void CheckGraphs(unsigned i) {
        std::vector<GraphFault> found;
        std::map<std::pair<std::optional<std::size_t>, std::string>, std::size_t> known;
        for (const std::uint32_t width : Widths(named.profile.chains.Item(i))) {
            for (ChainFault& fault : GraphFaults(i, width)) {
                const auto [place, isNew] =
                    known.emplace(std::pair(fault.block, fault.what), found.size());
                if (isNew) found.push_back({std::move(fault), {}});
                auto& widths = found[place->second].widths;
                if (std::ranges::find(widths, width) == widths.end()) widths.push_back(width);
            }
        }
        for (const auto& [fault, widths] : found)
            Tell(i, " with " + WidthsText(widths) + " in", fault);
    }

    std::vector<ChainFault> GraphFaults(unsigned i, std::uint32_t width) const {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        AudioGraph graph;
        SetUpChainGraph(graph, chain, {.channels = width, .sampleRate = options.sampleRate});
        if (!graph.IsValid()) return WhyInvalid(graph, chain);
        return FindGraphFaults(graph, chain, named.names[i]);
    }

    // Of a chain that has no other fault.
    static std::vector<ChainFault> WhyInvalid(const AudioGraph& graph,
                                              const QuorvelAudioBlocksChain& chain) {
        std::uint64_t together = 0;
        for (unsigned i = 0; i < chain.blocks.Count(); ++i) {
            const auto block = graph.FindBlock(chain.blocks.Item(i).id);
            const auto width = static_cast<std::uint32_t>(block ? block->GetOutputChannels() : 0);
            together += width;
            if (width > limits::kMostChannels)
                return {{"comes out " + std::to_string(width) + " channels wide",
                         MostTaken(limits::kMostChannels),
                         i,
                         {}}};
        }
        if (together > limits::kMostChannelsTogether)
            return {{"has too many channels, of all blocks together",
                     MostTaken(limits::kMostChannelsTogether),
                     {},
                     {}}};
        return {{.what = "the graph cannot be built"}};
    }

    static std::string MostTaken(std::uint32_t most) {
        return "a processing object takes at most " + std::to_string(most);
    }

    void Tell(unsigned i, const std::string& with, const ChainFault& fault) {
        const QuorvelAudioBlocksChain& chain = named.profile.chains.Item(i);
        const ChainSource* const source = Source(i);
        const bool hasNumber = !source || source->hasNumber;
        std::string text = hasNumber ? "chain " + std::to_string(chain.id) : "chain without number";
        text.append(with).append(", ").append(fault.Text(named.names[i]));
        if (!fault.advice.empty()) text.append("; ").append(fault.advice);
        if (fault.block)
            text += "\n    block " + GuidText(chain.blocks.Item(unsigned(*fault.block)).id);
        if (source) text += (fault.block ? " at " : "\n    at ") + Place(*source, fault);
        Tell(text);
    }

    static std::string Place(const ChainSource& source, const ChainFault& fault) {
        const JsonPlace document;
        const JsonPlace chains = document.Key("chains");
        const JsonPlace chain = chains.At(source.position);
        const JsonPlace blocks = chain.Key("blocks");
        const JsonPlace links = chain.Key("links");
        if (fault.block) return blocks.At(source.blocks[*fault.block]).Text();
        if (fault.link) return links.At(source.links[*fault.link]).Text();
        return links.Text();
    }

    void Tell(const std::string& fault) {
        ++count;
        WriteStandardOutput(options.profile + ": " + fault + "\n");
    }

    const Options& options;
    NamedProfile named{};
    ProfileReading reading{};
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
