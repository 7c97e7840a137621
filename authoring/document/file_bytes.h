// Whole files in memory.
#pragma once

#include <string>

namespace quorvel::tool {

// The content of the file. Throws ToolError: file when it cannot be opened or read, invalid when it
// is larger than 1 GiB, which no profile reaches.
std::string ReadFileBytes(const std::string& path);

// Writes all of `text` to standard output, at once. Throws ToolError (file) when that fails.
void WriteStandardOutput(const std::string& text);

}  // namespace quorvel::tool
