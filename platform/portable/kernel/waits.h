// Waiting for events and threads.
#pragma once

#include "platform/portable/kernel/handles.h"

inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

// Waits until `handle`'s event or thread is signalled, at most `milliseconds` (0 only looks,
// INFINITE waits for ever). WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with last error
// ERROR_INVALID_HANDLE (no handle, or one of a device file) or ERROR_ACCESS_DENIED (the handle has
// no SYNCHRONIZE right). Any thread; nothing is allocated and nothing polls.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// Waits until any of `count` (1 to 64) objects is signalled. WAIT_OBJECT_0 + the lowest index that
// is signalled at the call, else of the one signalled first; only that one's signal is taken, once,
// when it is an auto-reset event. All handles are checked first: one bad handle fails the wait as
// above. Closing a handle during the wait does not end it. ERROR_INVALID_PARAMETER for a bad count
// or a null list; waiting for all of several is not there (ERROR_NOT_SUPPORTED).
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds);
