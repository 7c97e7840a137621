// How a file tells that this tool made it, so that the next run may write over it unasked.
#pragma once

#include <string>

namespace quorvel::tool {

// The program that WAV files name as their software.
inline constexpr char kSoftware[] = "quorvel";

// `text` with the mark in front, as a comment that begins with `comment` and ends the line: of
// gnuplot's and Graphviz' languages.
std::string MarkedScript(const std::string& text, const std::string& comment);

// A picture with the mark: a comment behind an SVG, a text chunk in a PNG. Bytes that are neither
// come back as they are.
std::string MarkedPicture(std::string picture);

// Whether the file has such a mark, or is a profile in text form, which nobody writes by hand. JSON
// has none: whoever decodes a profile may have edited it since. False when it cannot be read.
bool IsMadeByTool(const std::string& path);

}  // namespace quorvel::tool
