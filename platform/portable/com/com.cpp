#include "platform/portable/com/com.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// How often the thread has joined and not left yet.
thread_local constinit unsigned joined = 0;

thread_local constinit DWORD threadLocale = 0;

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

int StringFromGUID2(REFGUID guid, WCHAR* text, int count) {
    // Where each byte of the record stands in the text: the first three fields are little-endian.
    constexpr const char* kForm = "{33221100-5544-7766-8899-AABBCCDDEEFF}";
    constexpr int kUnits = 39;
    constexpr WCHAR kDigits[] = u"0123456789ABCDEF";
    if (!text || count < kUnits) return 0;
    BYTE bytes[sizeof(GUID)];
    std::memcpy(bytes, &guid, sizeof(guid));
    bool isHigh = true;
    for (int i = 0; i < kUnits; ++i) {
        const char form = kForm[i];
        const bool isDigit = (form >= '0' && form <= '9') || (form >= 'A' && form <= 'F');
        text[i] = static_cast<WCHAR>(form);
        if (!isDigit) continue;
        const int byte = form <= '9' ? form - '0' : form - 'A' + 10;
        text[i] = kDigits[isHigh ? bytes[byte] >> 4 : bytes[byte] & 0xF];
        isHigh = !isHigh;
    }
    return kUnits;
}

DWORD GetThreadLocale() {
    return threadLocale;
}

BOOL SetThreadLocale(DWORD locale) {
    threadLocale = locale;
    return TRUE;
}
