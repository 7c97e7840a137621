// Libraries that Windows loads on demand. Elsewhere there are only those that a program plays
// (library_source.h).
#pragma once

#include "platform/portable/debug_help/modules.h"

inline constexpr DWORD LOAD_WITH_ALTERED_SEARCH_PATH = 8;

// All calls: any thread.

// Loads the library at `path` once more. Null with ERROR_MOD_NOT_FOUND when there is none. `file`
// must be null; `flags` count for nothing.
HMODULE LoadLibraryExW(const WCHAR* path, HANDLE file, DWORD flags);

// Lets go of a library loaded once. FALSE with ERROR_MOD_NOT_FOUND when it is not loaded.
BOOL FreeLibrary(HMODULE library);

// Copies the path of the system's folder with its terminating zero and returns its length without
// that. When it does not fit, nothing is copied and the units it needs, zero included, are
// returned.
UINT GetSystemDirectoryW(LPWSTR path, UINT size);
