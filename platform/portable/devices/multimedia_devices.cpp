#include "platform/portable/devices/multimedia_devices.h"

#include <algorithm>
#include <string_view>

HRESULT PropVariantClear(PROPVARIANT* value) {
    if (!value) return S_OK;
    if (value->vt == VT_LPWSTR) CoTaskMemFree(value->pwszVal);
    PropVariantInit(value);
    return S_OK;
}

HRESULT PropVariantToString(REFPROPVARIANT value, PWSTR text, UINT count) {
    if (!text || count == 0) return E_INVALIDARG;
    *text = 0;
    if (value.vt == VT_EMPTY) return S_OK;
    if (value.vt != VT_LPWSTR || !value.pwszVal) return E_INVALIDARG;

    const std::u16string_view whole = value.pwszVal;
    const std::size_t kept = std::min<std::size_t>(whole.size(), count - 1);
    *std::copy_n(whole.begin(), kept, text) = 0;
    return kept == whole.size() ? S_OK : HRESULT_FROM_WIN32(ERROR_INSUFFICIENT_BUFFER);
}
