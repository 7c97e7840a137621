#include "platform/os_version.h"

#include "base/wide_text.h"

namespace quorvel::platform {
namespace {

constexpr WideLiteral kKernelLibrary("ntdll.dll");

}  // namespace

RTL_OSVERSIONINFOEXW ReadOsVersion() {
    RTL_OSVERSIONINFOEXW version{};
    static_assert(sizeof(version) == 284);
    version.dwOSVersionInfoSize = sizeof(version);
    using GetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOEXW*);
    const HMODULE kernel = GetModuleHandleW(kKernelLibrary.text);
    const auto getVersion = kernel ? reinterpret_cast<GetVersion>(reinterpret_cast<void*>(
                                         GetProcAddress(kernel, "RtlGetVersion")))
                                   : nullptr;
    if (getVersion) getVersion(&version);
    return version;
}

}  // namespace quorvel::platform
