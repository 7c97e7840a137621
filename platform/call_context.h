// The registers that a walk over a call stack starts with, by the kind of process.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

struct CallRegisters {
    DWORD64 instruction = 0;
    DWORD64 frame = 0;
    DWORD64 stack = 0;
};

#if defined(_WIN32) && defined(_WIN64)

inline constexpr DWORD kMachineType = IMAGE_FILE_MACHINE_AMD64;
inline constexpr DWORD kAllRegisters = CONTEXT_ALL;

inline CallRegisters RegistersOf(const CONTEXT& context) {
    return {context.Rip, context.Rbp, context.Rsp};
}

#else

// Off Windows too: the simulated machine's engine process is a 32-bit one.
inline constexpr DWORD kMachineType = IMAGE_FILE_MACHINE_I386;
inline constexpr DWORD kAllRegisters = 0x1003F;

inline CallRegisters RegistersOf(const CONTEXT& context) {
    return {context.Eip, context.Ebp, context.Esp};
}

#endif

}  // namespace quorvel::platform
