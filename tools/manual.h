// The manual page and the shell completion, made from the same declarations as the help.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace quorvel::tool {

// Every subcommand with its options and its footer, for man(1).
std::string ManualPage(const CLI::App& app);

// Completes subcommands, options and file names in bash.
std::string BashCompletion(const CLI::App& app);

}  // namespace quorvel::tool
