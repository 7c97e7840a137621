#include <memory>

#include "authoring/document/output_file.h"
#include "authoring/document/tool_mark.h"
#include "authoring/draw/external_program.h"
#include "authoring/draw/graph_drawing.h"
#include "tools/picture_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr ExternalProgram kDot{"dot", "graphviz"};

void Run(const PictureOptions& options) {
    const PictureForm form = FormOfPicture(options, ".dot", PictureForm::kScript);
    const DrawnChain drawn(options);
    const std::string drawing = DrawGraph(drawn.graph, drawn.chosen.chain, drawn.chosen.names,
                                          {drawn.title, drawn.subtitle});
    if (form == PictureForm::kScript) return WriteResult(options.out, MarkedScript(drawing, "//"));
    const char* const picture = form == PictureForm::kPng ? "-Tpng" : "-Tsvg";
    WriteResult(options.out, MarkedPicture(RunProgram(kDot, {picture}, drawing)));
}

}  // namespace

void AddGraphCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "graph", "Draw a chain: its blocks in order, the widths between them and their buffers");
    const auto options = std::make_shared<PictureOptions>();
    AddPictureOptions(*command, *options,
                      "Picture to write: .svg, .png or .dot [standard output, as .dot]");
    command->footer(
        "Needs graphviz, except for .dot.\n"
        "Example: quorvel graph profiles/branching.json -o branching.svg");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
