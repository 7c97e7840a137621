// The subcommands, one source file each.
#pragma once

#include <CLI/CLI.hpp>

namespace quorvel::tool {

// Each adds its subcommand to `app`; parsing a command line that names it runs it. A run throws
// ToolError.
void AddProcessCommand(CLI::App& app);
void AddHostCommand(CLI::App& app);
void AddEarsCommand(CLI::App& app);
void AddInspectCommand(CLI::App& app);
void AddValidateCommand(CLI::App& app);
void AddPlotCommand(CLI::App& app);
void AddGraphCommand(CLI::App& app);
void AddDiffCommand(CLI::App& app);
void AddNulltestCommand(CLI::App& app);
void AddBenchCommand(CLI::App& app);
void AddEncodeCommand(CLI::App& app);
void AddDecodeCommand(CLI::App& app);
void AddManualCommand(CLI::App& app);

}  // namespace quorvel::tool
