// Libraries that Windows loads on demand. Elsewhere none of them is ever there.
#pragma once

#include "platform/portable/types.h"

struct LoadedLibrary;  // never defined: there is none
using HMODULE = LoadedLibrary*;
using FARPROC = void (*)();

// Null with ERROR_MOD_NOT_FOUND, whatever the name. Any thread; nothing is allocated.
HMODULE LoadLibraryW(const WCHAR* name);

// Null with ERROR_MOD_NOT_FOUND.
FARPROC GetProcAddress(HMODULE library, const char* name);

// False with ERROR_MOD_NOT_FOUND.
BOOL FreeLibrary(HMODULE library);
