// Win32 error codes as COM results.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

// S_OK for ERROR_SUCCESS; for a positive code 0x8007 and its low 16 bits; a code with the top bit
// set is a COM result already and stays. The argument may be a call: the macro of the same purpose
// in some system headers evaluates it twice.
constexpr HRESULT ResultFromError(DWORD error) {
    constexpr DWORD kWin32Failure = 0x80070000;
    const auto code = static_cast<HRESULT>(error);
    return code <= 0 ? code : static_cast<HRESULT>(kWin32Failure | (error & 0xFFFF));
}

}  // namespace quorvel::platform
