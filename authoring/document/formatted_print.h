// Text for the user, formatted.
#pragma once

#include <cstdio>
#include <string>

#include "authoring/document/file_bytes.h"

namespace quorvel::tool {

// The text that printf makes of the values; at most 511 characters.
template <typename... Values>
std::string Formatted(const char* format, Values... values) {
    char text[512];
    std::snprintf(text, sizeof(text), format, values...);
    return text;
}

// Writes it to standard output. Throws ToolError (file) when that fails.
template <typename... Values>
void Print(const char* format, Values... values) {
    WriteStandardOutput(Formatted(format, values...));
}

}  // namespace quorvel::tool
