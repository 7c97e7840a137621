#include "tools/picture_options.h"

#include "authoring/document/exit_status.h"
#include "authoring/document/formatted_print.h"
#include "authoring/document/profile_file.h"

namespace quorvel::tool {
namespace {

NamedProfile Load(const std::string& path) {
    NamedProfile named;
    LoadProfile(path, named);
    return named;
}

}  // namespace

PictureForm FormOfPicture(const PictureOptions& options, const std::string& scriptEnding,
                          PictureForm standard) {
    if (options.out.path.empty()) return standard;
    if (options.out.path.ends_with(".svg")) return PictureForm::kSvg;
    if (options.out.path.ends_with(".png")) return PictureForm::kPng;
    if (options.out.path.ends_with(scriptEnding)) return PictureForm::kScript;
    throw ToolError(ExitStatus::kUsage,
                    "-o: the picture is an .svg, .png or " + scriptEnding + " file");
}

DrawnChain::DrawnChain(const PictureOptions& options)
    : named(Load(options.profile)), chosen(ChooseChain(named, options.profile, options.chain)) {
    SetUpChainGraph(graph, chosen.chain, options.format);
    if (!graph.IsValid()) throw InvalidInput(options.profile + ": the graph cannot be built");
    title = named.purpose.empty() ? options.profile : named.purpose;
    subtitle =
        Formatted("chain %u, %u channels in, %u out, %u Hz", chosen.chain.id,
                  options.format.channels, options.format.outChannels, options.format.sampleRate);
}

}  // namespace quorvel::tool
