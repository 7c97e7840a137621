// The process heap of Windows, over the C allocator.
#pragma once

#include "platform/portable/kernel/types.h"

// The heap that every call below takes; the same handle at every call.
HANDLE GetProcessHeap();

// Allocates `bytes` uninitialised bytes; null when they cannot be had. `flags` must be 0.
LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T bytes);

// Resizes `memory`, keeping its content up to the smaller size. Null when it cannot be had, and
// `memory` then stays allocated. `flags` must be 0.
LPVOID HeapReAlloc(HANDLE heap, DWORD flags, LPVOID memory, SIZE_T bytes);

// Releases `memory`; null is allowed. Returns nonzero. `flags` must be 0.
BOOL HeapFree(HANDLE heap, DWORD flags, LPVOID memory);
