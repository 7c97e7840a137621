#include <map>
#include <memory>

#include "tools/file_bytes.h"
#include "tools/manual.h"
#include "tools/subcommands.h"

namespace quorvel::tool {

void AddManualCommand(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("manual", "Print the manual page, or the completion for bash");
    const auto form = std::make_shared<std::string>();
    command->add_option("FORM", *form, "man or bash")
        ->required()
        ->check(CLI::IsMember({"man", "bash"}));
    command->footer("Example: source <(quorvel manual bash)");
    command->callback([form, &app] {
        WriteStandardOutput(*form == "man" ? ManualPage(app) : BashCompletion(app));
    });
}

}  // namespace quorvel::tool
