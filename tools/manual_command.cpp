#include <memory>

#include "authoring/document/file_bytes.h"
#include "authoring/document/kind_reference.h"
#include "tools/manual.h"
#include "tools/subcommands.h"

namespace quorvel::tool {

void AddManualCommand(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "manual",
        "Print the manual page, the completion for bash, or what kinds of blocks there are");
    const auto form = std::make_shared<std::string>();
    command
        ->add_option("FORM", *form,
                     "man: the page for man(1); bash: completion; kinds: the kinds of blocks")
        ->required()
        ->check(CLI::IsMember({"man", "bash", "kinds"}));
    command->footer("Example: source <(quorvel manual bash)");
    command->callback([form, &app] {
        WriteStandardOutput(*form == "man"    ? ManualPage(app)
                            : *form == "bash" ? BashCompletion(app)
                                              : KindReference());
    });
}

}  // namespace quorvel::tool
