// Loading a library that is installed with this one.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

// Loads the library `fileName` from the folder of this library's file, else from the system's, by
// its full path: a file of that name in the folder that the process happens to work in is never
// loaded. Null with the last error when neither has it. To be released with FreeLibrary. For
// control threads, without a lock. Throws std::bad_alloc.
HMODULE LoadInstalledLibrary(const WCHAR* fileName);

}  // namespace quorvel::platform
