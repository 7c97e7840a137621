// Event objects of Windows.
#pragma once

#include "platform/portable/kernel/handles.h"

// Never used here: the address of one is always null.
struct SECURITY_ATTRIBUTES;

inline constexpr DWORD EVENT_MODIFY_STATE = 0x0002;    // SetEvent, ResetEvent, the event of a read
inline constexpr DWORD EVENT_ALL_ACCESS = 0x001F0003;  // and SYNCHRONIZE, to wait

// All calls: any thread. Names are case-sensitive. "Global\" and "Local\" before a name are its
// namespace, "Local\" when there is none; another backslash in a name fails with
// ERROR_PATH_NOT_FOUND. A name is free again when the last handle to its event is closed.

// Creates an event: `manualReset` ones stay signalled until ResetEvent, others until one wait took
// the signal. Null or an empty `name` gives a nameless event. When an event of that name exists,
// returns a handle to it with last error ERROR_ALREADY_EXISTS, and the other arguments count for
// nothing; otherwise last error is 0. The handle has EVENT_ALL_ACCESS. Null when it fails:
// ERROR_PATH_NOT_FOUND, ERROR_NOT_ENOUGH_MEMORY.
HANDLE CreateEventW(SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL initialState,
                    const WCHAR* name);

// Opens the event of that name with the rights of `access` (SYNCHRONIZE, EVENT_MODIFY_STATE or
// EVENT_ALL_ACCESS; generic rights are not translated). Null when it fails: ERROR_FILE_NOT_FOUND,
// ERROR_PATH_NOT_FOUND, ERROR_INVALID_PARAMETER for a null or empty name, ERROR_NOT_ENOUGH_MEMORY.
HANDLE OpenEventW(DWORD access, BOOL inheritHandle, const WCHAR* name);

// Signals the event: see WaitForMultipleObjects. FALSE with ERROR_INVALID_HANDLE for a handle that
// is not an event's, ERROR_ACCESS_DENIED for one without EVENT_MODIFY_STATE. Allocates nothing.
BOOL SetEvent(HANDLE event);

// Takes the signal away; same failures. Threads that were released before stay released.
BOOL ResetEvent(HANDLE event);
