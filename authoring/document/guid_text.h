// GUIDs as text, "{41FC156B-DEF3-4CDE-B28D-913E81AA0AD3}".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace quorvel::tool {

// With braces, capital digits.
std::string GuidText(const GUID& guid);

// The GUID that `text` spells, with or without braces, digits of either case; none otherwise.
std::optional<GUID> ParseGuid(std::string_view text);

}  // namespace quorvel::tool
