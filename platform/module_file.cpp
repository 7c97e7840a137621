#include "platform/module_file.h"

namespace quorvel::platform {

#ifdef _WIN32

std::basic_string<WCHAR> ModuleFile() {
    HMODULE module = nullptr;
    const DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&ModuleFile), &module)) return {};
    constexpr DWORD kLongestPath = 32768;
    for (DWORD units = 260; units <= kLongestPath; units *= 2) {
        std::basic_string<WCHAR> path(units, WCHAR{});
        const DWORD length = GetModuleFileNameW(module, path.data(), units);
        if (length == 0) return {};
        if (length < units) return path.substr(0, length);
    }
    return {};
}

#else

std::basic_string<WCHAR> ModuleFile() {
    return u"C:\\Program Files\\Quorvel\\APO.dll";
}

#endif

}  // namespace quorvel::platform
