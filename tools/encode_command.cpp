#include <memory>

#include "authoring/document/output_file.h"
#include "authoring/document/profile_file.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

struct Options {
    std::string profile{};
    Output out{};
};

void Run(const Options& options) {
    NamedProfile named;
    LoadProfile(options.profile, named);
    WriteResult(options.out, ProfileText(named));
}

}  // namespace

void AddEncodeCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("encode", "Write a profile in its printable text form");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    AddOutputOptions(*command, options->out, "File to write [standard output]");
    command->footer("Example: quorvel encode profiles/games.json -o games.txt");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
