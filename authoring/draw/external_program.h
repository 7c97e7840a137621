// Programs of the system that the tool calls for drawing.
#pragma once

#include <string>
#include <vector>

namespace quorvel::tool {

struct ExternalProgram {
    const char* name = nullptr;     // found in PATH
    const char* package = nullptr;  // that has it
};

// Runs the program with `input` as its standard input and returns what it wrote to its standard
// output. Throws ToolError (file) when there is no such program, with the package to install, and
// when it fails or writes nothing, with its own words.
std::string RunProgram(const ExternalProgram& program, const std::vector<std::string>& arguments,
                       const std::string& input);

}  // namespace quorvel::tool
