#include "platform/type_library.h"

#include "base/wide_text.h"
#include "platform/result_codes.h"

#ifdef _WIN32
#include <oleauto.h>
#endif

namespace quorvel::platform {

namespace {

std::basic_string<WCHAR> KeyOf(const TypeLibrary& library) {
    constexpr WideLiteral kTypeLibraries("TypeLib\\");
    WCHAR id[39];
    StringFromGUID2(library.id, id, 39);
    return std::basic_string<WCHAR>(kTypeLibraries.text).append(id);
}

}  // namespace

#ifdef _WIN32

namespace {

bool IsRegistered(const TypeLibrary& library) {
    HKEY key = nullptr;
    const LSTATUS error =
        RegOpenKeyExW(HKEY_CLASSES_ROOT, KeyOf(library).c_str(), 0, KEY_READ, &key);
    if (error == ERROR_SUCCESS) RegCloseKey(key);
    return error != ERROR_FILE_NOT_FOUND;
}

}  // namespace

HRESULT RegisterTypeLibrary(const TypeLibrary&, const std::basic_string<WCHAR>& path) {
    ITypeLib* library = nullptr;
    HRESULT result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library);
    if (result == TYPE_E_CANTLOADLIBRARY) return S_OK;
    if (FAILED(result)) return result;
    std::basic_string<WCHAR> file = path;
    result = RegisterTypeLib(library, file.data(), nullptr);
    library->Release();
    return result;
}

HRESULT UnregisterTypeLibrary(const TypeLibrary& library) {
    // What the system answers for a library that it does not know varies.
    if (!IsRegistered(library)) return S_OK;
    const SYSKIND system = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
    return UnRegisterTypeLib(library.id, library.majorVersion, library.minorVersion, 0, system);
}

#else

namespace {

LSTATUS SetText(const std::u16string& path, const std::u16string& text) {
    HKEY key = nullptr;
    LSTATUS error = RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr,
                                    REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, &key, nullptr);
    if (error != ERROR_SUCCESS) return error;
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
    error =
        RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size);
    RegCloseKey(key);
    return error;
}

}  // namespace

HRESULT RegisterTypeLibrary(const TypeLibrary& library, const std::basic_string<WCHAR>& path) {
    const std::u16string version = KeyOf(library) + u"\\" +
                                   char16_t(u'0' + library.majorVersion % 10) + u"." +
                                   char16_t(u'0' + library.minorVersion % 10);
    LSTATUS error = SetText(version, library.name);
    if (error == ERROR_SUCCESS) error = SetText(version + u"\\0\\win32", path);
    return ResultFromError(static_cast<DWORD>(error));
}

HRESULT UnregisterTypeLibrary(const TypeLibrary& library) {
    const LSTATUS error = RegDeleteTreeW(HKEY_CLASSES_ROOT, KeyOf(library).c_str());
    return error == ERROR_FILE_NOT_FOUND ? S_OK : ResultFromError(static_cast<DWORD>(error));
}

#endif

}  // namespace quorvel::platform
