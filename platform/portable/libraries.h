// Libraries that Windows loads on demand. Elsewhere none of them is ever there.
#pragma once

#include "platform/portable/modules.h"

// Null with ERROR_MOD_NOT_FOUND, whatever the name. Any thread; nothing is allocated.
HMODULE LoadLibraryW(const WCHAR* name);

// False with ERROR_MOD_NOT_FOUND.
BOOL FreeLibrary(HMODULE library);
