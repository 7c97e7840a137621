#include "platform/portable/com.h"

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
