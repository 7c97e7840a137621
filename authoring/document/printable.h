// Texts of others, made fit to be shown.
#pragma once

#include <string>
#include <string_view>

namespace quorvel::tool {

// The text in one line of valid UTF-8 that neither steers a terminal nor breaks a picture's XML:
// control characters, line ends and what is no character become spaces, bytes that are no UTF-8
// question marks.
std::string Printable(std::string_view text);

}  // namespace quorvel::tool
