#include "platform/portable/kernel/heap.h"

#include <algorithm>
#include <cstdlib>

HANDLE GetProcessHeap() {
    static char heap;
    return &heap;
}

// A block of no bytes is still a block there, while the C allocator may answer null.
LPVOID HeapAlloc(HANDLE, DWORD, SIZE_T bytes) {
    return std::malloc(std::max<SIZE_T>(bytes, 1));
}

LPVOID HeapReAlloc(HANDLE, DWORD, LPVOID memory, SIZE_T bytes) {
    return std::realloc(memory, std::max<SIZE_T>(bytes, 1));
}

BOOL HeapFree(HANDLE, DWORD, LPVOID memory) {
    std::free(memory);
    return 1;
}
