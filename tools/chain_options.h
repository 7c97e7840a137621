// Options that several subcommands share: which profile, which of its chains, and with which sound.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "authoring/render/chain_graph.h"

namespace quorvel::tool {

// PROFILE, required.
inline void AddProfileOption(CLI::App& command, std::string& profile) {
    command.add_option("PROFILE", profile, "Profile, JSON or text form")->required();
}

// --chain.
inline CLI::Option* AddChainOption(CLI::App& command, std::optional<std::uint32_t>& number) {
    return command.add_option("--chain", number,
                              "Number of the chain; the only one, or 1, when left out");
}

// --channels, --out-channels and --rate, whose defaults are what `format` holds.
inline void AddFormatOptions(CLI::App& command, ChainFormat& format) {
    command.add_option("--channels", format.channels, "Input channels")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command.add_option("--out-channels", format.outChannels, "Output channels")
        ->check(CLI::Range(1, 8))
        ->capture_default_str();
    command.add_option("--rate", format.sampleRate, "Sample rate in Hz")
        ->check(CLI::Range(8000u, 192000u))
        ->capture_default_str();
}

}  // namespace quorvel::tool
