// UTF-16 text as UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace quorvel::platform {

// Appends `text` to `narrow`. Half a surrogate pair becomes U+FFFD, and the answer is then false.
// Throws std::bad_alloc. Any thread.
bool AppendUtf8(std::string& narrow, std::basic_string_view<WCHAR> text);

}  // namespace quorvel::platform
