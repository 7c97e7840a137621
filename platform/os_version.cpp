#include "platform/os_version.h"

#include "platform/wide_literal.h"

namespace quorvel::platform {

RTL_OSVERSIONINFOEXW ReadOsVersion() {
    RTL_OSVERSIONINFOEXW version{};
    static_assert(sizeof(version) == 284);
    version.dwOSVersionInfoSize = sizeof(version);
    using GetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOEXW*);
    const HMODULE kernel = GetModuleHandleW(QUORVEL_WIDE("ntdll.dll"));
    const auto getVersion = kernel ? reinterpret_cast<GetVersion>(reinterpret_cast<void*>(
                                         GetProcAddress(kernel, "RtlGetVersion")))
                                   : nullptr;
    if (getVersion) getVersion(&version);
    return version;
}

}  // namespace quorvel::platform
