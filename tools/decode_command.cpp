#include <memory>

#include "authoring/document/output_file.h"
#include "authoring/document/profile_file.h"
#include "authoring/document/profile_json.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"
#include "tools/subcommands.h"

namespace quorvel::tool {
namespace {

constexpr int kIndent = 2;

struct Options {
    std::string profile{};
    Output out{};
};

void Run(const Options& options) {
    NamedProfile named;
    LoadProfile(options.profile, named);
    WriteResult(options.out, WriteProfile(named).dump(kIndent) + "\n");
}

}  // namespace

void AddDecodeCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand("decode", "Write a profile as JSON");
    const auto options = std::make_shared<Options>();
    AddProfileOption(*command, options->profile);
    AddOutputOptions(*command, options->out, "File to write [standard output]");
    command->footer("Example: quorvel decode games.txt -o games.json");
    command->callback([options] { Run(*options); });
}

}  // namespace quorvel::tool
