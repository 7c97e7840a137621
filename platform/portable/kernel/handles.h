// Handles and the last error of Windows.
#pragma once

#include "platform/portable/kernel/types.h"

// What CreateFileW returns when it fails; never the value of a handle.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~ULONG_PTR{0});

// Rights of a handle to wait on its object.
inline constexpr DWORD SYNCHRONIZE = 0x00100000;

// The calling thread's error code: set by every call that fails, left alone by those that succeed
// unless their contract says otherwise. 0 in a new thread.
DWORD GetLastError();
void SetLastError(DWORD error);

// Closes `handle`, whatever its kind. The object lives on while other handles, waiting threads or
// pending requests refer to it; a thread runs on; those of a device file's last handle are
// cancelled before this returns. FALSE with ERROR_INVALID_HANDLE when the handle is not open: a
// value that was closed is refused, not reused (handle_table.h tells the bound). Any thread.
BOOL CloseHandle(HANDLE handle);
