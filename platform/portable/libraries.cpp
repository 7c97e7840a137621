#include "platform/portable/libraries.h"

#include "platform/portable/failures.h"

using quorvel::platform::FailWith;

HMODULE LoadLibraryW(const WCHAR*) {
    return FailWith(ERROR_MOD_NOT_FOUND, HMODULE{});
}

BOOL FreeLibrary(HMODULE) {
    return FailWith(ERROR_MOD_NOT_FOUND, FALSE);
}
