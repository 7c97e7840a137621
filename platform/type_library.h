// The type library inside this library's file.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace quorvel::platform {

struct TypeLibrary {
    GUID id{};
    WORD majorVersion = 0;
    WORD minorVersion = 0;
    std::basic_string<WCHAR> name;
};

// Write the library's keys below HKEY_CLASSES_ROOT\TypeLib, or remove them, for the file `path`. On
// Windows the system does it with what is in the file; a file built without the interface compiler
// has no type library, and S_OK says that there was nothing to do.
HRESULT RegisterTypeLibrary(const TypeLibrary& library, const std::basic_string<WCHAR>& path);
HRESULT UnregisterTypeLibrary(const TypeLibrary& library);

}  // namespace quorvel::platform
