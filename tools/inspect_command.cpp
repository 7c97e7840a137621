#include <algorithm>
#include <memory>

#include "authoring/check/chain_check.h"
#include "authoring/document/exit_status.h"
#include "authoring/document/file_bytes.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/guid_text.h"
#include "authoring/document/parameter_text.h"
#include "authoring/document/printable.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/speakers.h"
#include "authoring/document/utf16_text.h"
#include "authoring/measure/response_measurement.h"
#include "authoring/render/chain_graph.h"
#include "kinds/block_kinds.h"
#include "profile/packed_profile.h"
#include "profile/quorvel_audio_block.h"
#include "tools/chain_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

struct Options {
    std::string profile{};
    ChainFormat format{};
};

void PrintLine(const std::string& line) {
    WriteStandardOutput(line + "\n");
}

std::string Counted(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Sound(std::uint32_t channels, std::uint32_t mask) {
    return Counted(channels, "channel") + " (" + SpeakerNames(mask) + ")";
}

std::vector<std::string> PrintableNames(std::vector<std::string> names) {
    for (std::string& name : names)
        name = Printable(name);
    return names;
}

// One chain in the order in which it runs.
class ChainReport {
  public:
    ChainReport(const QuorvelAudioBlocksChain& chainToTell,
                const std::vector<std::string>& blockNames, const Options& given)
        : chain(chainToTell), names(PrintableNames(blockNames)), format(given.format) {
        SetUpChainGraph(graph, chain, format);
    }

    // Whether there is a graph.
    bool Tell() {
        const char* const whose = chain.id == kHeadsetChain      ? ", the headset's"
                                  : chain.id == kMicrophoneChain ? ", the microphone's"
                                                                 : "";
        PrintLine("\nchain " + std::to_string(chain.id) + whose + ": " +
                  Counted(chain.blocks.Count(), "block") + ", " +
                  Counted(chain.links.Count(), "link"));
        for (const ChainFault& fault : FindChainFaults(chain, names))
            PrintLine("  fault: " + fault.Text(names));
        if (!graph.IsValid()) {
            PrintLine("  no graph can be made of it: sound passes unchanged");
            return false;
        }
        const auto& in = graph.ProcessingFormat();
        PrintLine("  in   " + Sound(in.Format.nChannels, in.dwChannelMask) + ", " +
                  std::to_string(in.Format.nSamplesPerSec) + " Hz");
        for (const GraphNode& node : graph.Nodes())
            TellNode(node);
        const auto& out = graph.OutputFormat();
        PrintLine("  out  " + Sound(out.Format.nChannels, out.dwChannelMask) +
                  ", what is above full scale compressed 10 : 1 after 1 ms");
        TellLatency();
        return true;
    }

  private:
    void TellNode(const GraphNode& node) {
        const AudioBlock& block = *node.block;
        const BlockKind* const kind = FindBlockKind(block.GetTypeId());
        const std::string title = kind ? kind->name : "sum";
        const std::string place = "  " + std::to_string(++number) + ". ";
        if (block.isInternal) {
            PrintLine(place + title + ", made by the graph" + From(node));
        } else {
            const unsigned i = PositionOf(block.GetId());
            PrintLine(place + names[i] + ", " + title + From(node));
            for (const std::string& line : ParameterLines(chain.blocks.Item(i)))
                PrintLine("         " + line);
        }
        for (const BlockInput& input : node.inputs) {
            if (!input.adapter) continue;
            PrintLine("         input from " + NameOf(*input.source) + " widened to " +
                      std::to_string(input.adapter->GetOutputChannels()) +
                      " channels by the graph");
        }
        PrintLine("       -> " + Sound(static_cast<std::uint32_t>(block.GetOutputChannels()),
                                       block.GetChannelMask()));
    }

    // Said only where it is not the block before.
    std::string From(const GraphNode& node) const {
        std::string from;
        for (const BlockInput& input : node.inputs)
            from += (from.empty() ? "" : ", ") + NameOf(*input.source);
        const bool isNext = node.inputs.size() == 1 && number > 1 &&
                            node.inputs[0].source == graph.Nodes()[number - 2].block;
        return isNext || from.empty() ? "" : ", from " + from;
    }

    std::string NameOf(const AudioBlock& block) const {
        return block.isInternal ? "the graph's own" : names[PositionOf(block.GetId())];
    }

    unsigned PositionOf(const GUID& id) const {
        unsigned i = 0;
        while (i + 1 < chain.blocks.Count() && chain.blocks.Item(i).id != id)
            ++i;
        return i;
    }

    void TellLatency() {
        const std::int64_t frames = MeasureLatency(chain, format);
        if (frames < 0) return PrintLine("  latency: nothing comes out within 24 seconds");
        PrintLine(Formatted("  latency %lld frames (%.3f ms)", static_cast<long long>(frames),
                            static_cast<double>(frames) * 1000.0 / format.sampleRate));
    }

    const QuorvelAudioBlocksChain& chain;
    std::vector<std::string> names;
    ChainFormat format;
    AudioGraph graph{};
    std::size_t number = 0;
};

std::size_t PackedSize(const QuorvelAudioProfile& profile) {
    PackedProfile packed;
    if (PackProfile(profile, 0, 0, packed) != ERROR_SUCCESS) throw InvalidInput("out of memory");
    return packed.size;
}

void Run(const Options& options) {
    NamedProfile named;
    const ProfileForm form = LoadProfile(options.profile, named);
    PrintLine("profile " + GuidText(named.profile.id));
    if (!named.purpose.empty()) PrintLine("  " + Printable(named.purpose));
    PrintLine(std::string("  ") + (form == ProfileForm::kJson ? "JSON" : "text form") +
              ", packed " + std::to_string(PackedSize(named.profile)) + " bytes");
    for (unsigned i = 0; i < named.profile.PathsCount(); ++i)
        PrintLine("  for " +
                  Printable(ToUtf8(named.profile.Path(i)).value_or("(a path that is no text)")));
    bool isValid = true;
    for (unsigned i = 0; i < named.profile.chains.Count(); ++i)
        isValid &= ChainReport(named.profile.chains.Item(i), named.names[i], options).Tell();
    if (!isValid) throw InvalidInput("a chain makes no graph; validate tells why");
}

}  // namespace

void AddInspectCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("inspect", "Tell a profile in words");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    AddFormatOptions(*command, options->format);
    command->footer("Example: quorvel inspect profiles/games_7_1.json --channels 8");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
