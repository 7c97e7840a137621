// UTF-8, which JSON speaks, and UTF-16, which profiles hold.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace quorvel::tool {

using WideText = std::basic_string<WCHAR>;

// `text` must be valid UTF-8.
WideText ToUtf16(std::string_view text);

// None when `text` holds half a surrogate pair, for which UTF-8 has no form.
std::optional<std::string> ToUtf8(std::basic_string_view<WCHAR> text);

}  // namespace quorvel::tool
