// What the subcommands that draw a chain have in common.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "authoring/render/chain_graph.h"
#include "tools/chain_options.h"
#include "tools/file_options.h"

namespace quorvel::tool {

enum class PictureForm { kSvg, kPng, kScript };

struct PictureOptions {
    std::string profile{};
    Output out{};  // without a path: standard output
    std::optional<std::uint32_t> chain{};
    ChainFormat format{};
};

// PROFILE, --output, --force, --chain, and the options of the format.
inline void AddPictureOptions(CLI::App& command, PictureOptions& options,
                              const std::string& outputHelp) {
    AddProfileOption(command, options.profile);
    AddOutputOptions(command, options.out, outputHelp);
    AddChainOption(command, options.chain);
    AddFormatOptions(command, options.format);
}

// By the end of the file's name; `scriptEnding` is that of the drawing program's own language,
// `standard` what goes to standard output. Throws ToolError (usage) for any other name.
PictureForm FormOfPicture(const PictureOptions& options, const std::string& scriptEnding,
                          PictureForm standard);

// A chain of a profile as a graph that runs. Throws ToolError.
struct DrawnChain {
    explicit DrawnChain(const PictureOptions& options);

    NamedProfile named;
    ChosenChain chosen;
    AudioGraph graph{};
    std::string title{};     // what the profile is for, or its file
    std::string subtitle{};  // chain and format
};

}  // namespace quorvel::tool
