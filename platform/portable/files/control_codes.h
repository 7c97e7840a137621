// How a device control code is put together.
#pragma once

#include "platform/portable/kernel/types.h"

inline constexpr DWORD FILE_DEVICE_UNKNOWN = 0x22;
inline constexpr DWORD METHOD_BUFFERED = 0;
inline constexpr DWORD FILE_ANY_ACCESS = 0;
inline constexpr DWORD FILE_READ_ACCESS = 1;   // the handle must be open for reading
inline constexpr DWORD FILE_WRITE_ACCESS = 2;  // the handle must be open for writing

// The code of `function` (12 bits) of a device type (16 bits): type | access | function | method.
constexpr DWORD CTL_CODE(DWORD deviceType, DWORD function, DWORD method, DWORD access) {
    return deviceType << 16 | access << 14 | function << 2 | method;
}

namespace quorvel::platform {

// The FILE_..._ACCESS bits of a control code.
constexpr DWORD RequiredAccess(DWORD code) {
    return code >> 14 & (FILE_READ_ACCESS | FILE_WRITE_ACCESS);
}

}  // namespace quorvel::platform
