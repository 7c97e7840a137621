// Options about files that several subcommands share.
#pragma once

#include <CLI/CLI.hpp>

#include "authoring/document/output_file.h"

namespace quorvel::tool {

// --force.
inline void AddForceOption(CLI::App& command, Output& output) {
    command.add_flag(
        "--force", output.mayReplace,
        "Replace whatever file is there. Without it only an empty one, or one that this\n"
        "tool made: WAV files and pictures say so, text forms are taken for such,\n"
        "JSON may have been edited. No file that the run reads is ever replaced");
}

// -o and --force.
inline void AddOutputOptions(CLI::App& command, Output& output, const std::string& help) {
    command.add_option("-o,--output", output.path, help);
    AddForceOption(command, output);
}

// --allow-truncated.
inline void AddTruncationOption(CLI::App& command, bool& isAllowed) {
    command.add_flag("--allow-truncated", isAllowed,
                     "Take what there is of an audio file that ends before its header says");
}

}  // namespace quorvel::tool
