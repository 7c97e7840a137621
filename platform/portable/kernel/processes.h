// Processes: their memory, environment and kind. What they tell is the present machine's
// (machine.h); the calling process is the engine process of that machine.
#pragma once

#include "platform/portable/kernel/handles.h"
#include "platform/portable/kernel/threads.h"
#include "platform/portable/kernel/types.h"

inline constexpr DWORD PROCESS_VM_READ = 0x10;

// Stand for the calling process and thread, with all rights; nothing needs to be closed.
HANDLE GetCurrentProcess();
HANDLE GetCurrentThread();

// All below: any thread.

// A handle to a process with the rights of `access`, to be closed with CloseHandle. Null when it
// fails: ERROR_INVALID_PARAMETER for another process than the calling one,
// ERROR_NOT_ENOUGH_MEMORY.
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId);

// Copies memory of the machine's engine process; its addresses are the machine's, not this
// program's, so that no address can do harm. Copies what can be read up to the first byte that
// cannot, and says in `*count`, unless null, how much that was; FALSE with ERROR_PARTIAL_COPY when
// it was less than `size`. Other failures copy nothing: ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED
// (the handle lacks PROCESS_VM_READ).
BOOL ReadProcessMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size, SIZE_T* count);

// Whether a 32-bit process runs on 64-bit Windows. FALSE with ERROR_INVALID_HANDLE.
BOOL IsWow64Process(HANDLE process, BOOL* isWow64);

// Copies a variable's value with its terminating zero, and returns its length without that. When
// it does not fit, nothing is copied and the units it needs, zero included, are returned. 0 with
// ERROR_ENVVAR_NOT_FOUND when there is none; names are compared without regard to the case of ASCII
// letters.
DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR value, DWORD size);
