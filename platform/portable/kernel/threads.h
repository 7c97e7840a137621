// Threads of Windows.
#pragma once

#include "platform/portable/kernel/events.h"

// The calling convention of callbacks; systems other than 32-bit Windows have but one.
#define WINAPI

using LPTHREAD_START_ROUTINE = DWORD(WINAPI*)(LPVOID parameter);

// Runs `entry(parameter)` on a new thread with the system's default stack: `stackSize` counts for
// nothing and `flags` must be 0. `threadId`, unless null, receives the thread's number. The handle
// is signalled for ever once the thread has ended: `entry` has returned, the reads that the thread
// left pending are cancelled, and its thread-local objects are gone. Closing the handle before
// lets the thread run on. An exception out of `entry` ends the process. Null when it fails:
// ERROR_INVALID_PARAMETER, ERROR_NOT_ENOUGH_MEMORY. Any thread.
HANDLE CreateThread(SECURITY_ATTRIBUTES* security, SIZE_T stackSize, LPTHREAD_START_ROUTINE entry,
                    LPVOID parameter, DWORD flags, DWORD* threadId);

// The number of the calling thread, whoever started it: not 0, and not given again before 2^30
// other threads have come.
DWORD GetCurrentThreadId();

// The system's number of this process.
DWORD GetCurrentProcessId();
