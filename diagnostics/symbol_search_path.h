// Where symbol files are looked for.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace quorvel {

// Room for the path and its terminating zero, in units.
inline constexpr std::size_t kSearchPathUnits = 4096;

// Directories, each followed by ";", those first that are searched first: the current one, that of
// the process's image, the values of "_NT_SYMBOL_PATH" and "_NT_ALTERNATE_SYMBOL_PATH", that of
// "SYSTEMROOT" and the system's libraries in it, which for a 32-bit `process` on 64-bit Windows are
// others. What is not set is left out; each value is cut after 1023 units, the whole after 4095.
// Any thread. Throws std::bad_alloc.
std::basic_string<WCHAR> SymbolSearchPath(HANDLE process);

}  // namespace quorvel
