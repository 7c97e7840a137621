#include <memory>

#include "tools/chain_options.h"
#include "tools/exit_status.h"
#include "tools/external_program.h"
#include "tools/formatted_print.h"
#include "tools/graph_drawing.h"
#include "tools/output_file.h"
#include "tools/profile_file.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr ExternalProgram kDot{"dot", "graphviz"};

struct Options {
    std::string profile{};
    std::string out{};
    std::uint32_t chain = kHeadsetChain;
    ChainFormat format{};
};

void Run(const Options& options) {
    const bool isDrawing = options.out.ends_with(".dot");
    if (!isDrawing && !options.out.ends_with(".svg") && !options.out.ends_with(".png"))
        throw ToolError(ExitStatus::kUsage, "-o: the picture is an .svg, .png or .dot file");
    NamedProfile named;
    LoadProfile(options.profile, named);
    const ChosenChain chosen = ChooseChain(named, options.profile, options.chain);
    AudioGraph graph;
    SetUpChainGraph(graph, chosen.chain, options.format);
    if (!graph.IsValid()) throw InvalidInput(options.profile + ": the graph cannot be built");
    const std::string title = (named.purpose.empty() ? options.profile : named.purpose) +
                              Formatted(" (%u Hz)", options.format.sampleRate);
    const std::string drawing = DrawGraph(graph, chosen.chain, chosen.names, title);
    const std::string form = "-T" + options.out.substr(options.out.size() - 3);
    WriteResult(options.out, isDrawing ? drawing : RunProgram(kDot, {form}, drawing));
}

}  // namespace

void AddGraphCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "graph", "Draw a chain: its blocks in order, the widths between them and their buffers");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    command->add_option("-o,--output", options->out, "Picture to write: .svg, .png or .dot")
        ->required();
    AddChainOption(*command, options->chain);
    AddFormatOptions(*command, options->format);
    command->footer(
        "Needs graphviz, except for .dot.\n"
        "Example: quorvel graph profiles/branching.json -o branching.svg");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
