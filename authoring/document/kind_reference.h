// The kinds of blocks, for the manual.
#pragma once

#include <string>

namespace quorvel::tool {

// A page in Markdown, docs/block-kinds.md. Every kind: its name, type id and purpose, and a table
// of its record with offsets and sizes in bytes, units, ranges and what a field that JSON leaves
// out means.
std::string KindReference();

}  // namespace quorvel::tool
