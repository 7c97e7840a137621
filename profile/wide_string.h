// Zero-terminated UTF-16 strings on the C runtime heap.
#pragma once

#include <cstddef>

#include "platform/windows_api.h"

namespace quorvel {

// Units before the terminator; `text` must not be null.
std::size_t StringLength(const WCHAR* text);

// A copy for std::free. Null when `text` is null or memory cannot be had.
WCHAR* DuplicateString(const WCHAR* text);

// Whether the strings have the same units. Null equals nothing, not even null.
bool SameString(const WCHAR* a, const WCHAR* b);

}  // namespace quorvel
