#include <memory>

#include "authoring/document/exit_status.h"
#include "authoring/document/output_file.h"
#include "authoring/document/tool_mark.h"
#include "authoring/draw/external_program.h"
#include "authoring/draw/plot_script.h"
#include "authoring/draw/profile_charts.h"
#include "tools/picture_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr ExternalProgram kGnuplot{"gnuplot", "gnuplot-nox"};

struct Options : PictureOptions {
    std::int32_t only = 0;  // input channel from 1; 0: all
};

void Run(const Options& options) {
    const PictureForm form = FormOfPicture(options, ".gnuplot", PictureForm::kSvg);
    if (options.only > static_cast<std::int32_t>(options.format.channels))
        throw ToolError(ExitStatus::kUsage, "--only: the input has no such channel");
    const DrawnChain drawn(options);
    const std::string script = PlotScript(
        drawn.title, drawn.subtitle, ChainCharts(drawn.chosen, options.format, options.only - 1),
        form == PictureForm::kPng);
    if (form == PictureForm::kScript) return WriteResult(options.out, MarkedScript(script, "#"));
    WriteResult(options.out, MarkedPicture(RunProgram(kGnuplot, {"-d", "-"}, script)));
}

}  // namespace

void AddPlotCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "plot", "Draw what a profile does: magnitude and phase, and the curves of its dynamics");
    const auto options = std::make_shared<Options>();
    AddPictureOptions(*command, *options,
                      "Picture to write: .svg, .png or .gnuplot [standard output, as .svg]");
    command->add_option("--only", options->only, "Feed this input channel alone, the first is 1")
        ->check(CLI::Range(1, 8));
    command->footer(
        "Everything is measured from the running graph; compressors, limiters and gates are left\n"
        "out of the chain's response and have charts of their own. Needs gnuplot, except for\n"
        ".gnuplot.\n"
        "Example: quorvel plot profiles/games.json -o games.svg");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
