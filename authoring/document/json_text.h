// JSON text to a document.
#pragma once

#include <nlohmann/json.hpp>
#include <string_view>

namespace quorvel::tool {

using Json = nlohmann::json;

// The document that `text` (UTF-8, a byte order mark is skipped) holds. Numbers are doubles or
// 64-bit integers. Throws ToolError (invalid) for
//   - a syntax error or a number that no double holds, with line and column, counted from 1 in
//     bytes;
//   - an object that names a member twice, with the member's place;
//   - nesting deeper than 32 levels, whatever the text's size: reading never exhausts the stack.
Json ParseJson(std::string_view text);

}  // namespace quorvel::tool
