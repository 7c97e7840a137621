// The file of this library.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace quorvel::platform {

// Its full path; empty when the system does not tell. Off Windows, where the library is part of a
// program, the path at which the simulated machine has it. Throws std::bad_alloc.
std::basic_string<WCHAR> ModuleFile();

}  // namespace quorvel::platform
