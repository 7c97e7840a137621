#include "platform/portable/com.h"

#include <algorithm>
#include <cstdlib>

namespace {

// How often the thread has joined and not left yet.
thread_local constinit unsigned joined = 0;

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD model) {
    if (reserved || model != COINIT_MULTITHREADED) return E_INVALIDARG;
    return joined++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    if (joined > 0) --joined;
}

// A block of no bytes is still a block there, while the C allocator may answer null.
void* CoTaskMemAlloc(SIZE_T size) {
    return std::malloc(std::max<SIZE_T>(size, 1));
}

void CoTaskMemFree(void* memory) {
    std::free(memory);
}
