// The quorvel command-line tool: chooses the subcommand and turns its end into the exit status.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "authoring/document/exit_status.h"
#include "authoring/document/json_place.h"
#include "dsp/surround/external_library.h"
#include "tools/subcommands.h"

namespace {

using namespace quorvel::tool;

// In the order of the help: to hear, to see, to compare, to convert.
constexpr void (*kSubcommands[])(CLI::App&) = {
    AddProcessCommand, AddHostCommand,   AddEarsCommand,   AddInspectCommand,  AddValidateCommand,
    AddPlotCommand,    AddGraphCommand,  AddDiffCommand,   AddNulltestCommand, AddBenchCommand,
    AddEncodeCommand,  AddDecodeCommand, AddManualCommand,
};

int Report(ExitStatus status, const char* message) {
    std::fprintf(stderr, "quorvel: %s\n", message);
    return static_cast<int>(status);
}

bool HasSubcommand(const CLI::App& app, const std::string& name) {
    const auto isCalled = [&](const CLI::App* command) { return command->get_name() == name; };
    return !app.get_subcommands(isCalled).empty();
}

int Run(int argc, char** argv) {
    const quorvel::ExternalLibrary surroundLibrary;
    CLI::App app{"Renders sound through headset profiles, and writes and shows profiles."};
    app.name("quorvel");
    app.set_version_flag("--version", "quorvel " QUORVEL_VERSION);
    app.require_subcommand(1);
    app.footer(
        "PROFILE is a JSON file or a file in text form.\n"
        "Exit status: 0 done; 1 the profile, graph or audio is invalid; 2 wrong usage;\n"
        "3 a file cannot be read or written.");
    for (const auto add : kSubcommands)
        add(app);
    if (argc > 1 && argv[1][0] != '-' && !HasSubcommand(app, argv[1]))
        return Report(
            ExitStatus::kUsage,
            ("no subcommand is called " + Quoted(argv[1]) + "; --help names them").c_str());
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return static_cast<int>(app.exit(error) == 0 ? ExitStatus::kDone : ExitStatus::kUsage);
    }
    return static_cast<int>(ExitStatus::kDone);
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that goes away and a file size limit shall be failed writes, which are reported.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return Run(argc, argv);
    } catch (const ToolError& error) {
        return Report(error.Status(), error.what());
    } catch (const std::bad_alloc&) {
        return Report(ExitStatus::kInvalid, "out of memory");
    } catch (const std::exception& error) {
        return Report(ExitStatus::kInvalid, error.what());
    }
}
