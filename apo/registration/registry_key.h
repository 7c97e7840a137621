// An open registry key with one owner.
#pragma once

#include <string>
#include <utility>

#include "platform/windows_api.h"

namespace quorvel {

// Closes what it holds. The results are Win32 errors. One thread at a time.
class RegistryKey {
  public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() {
        if (key) RegCloseKey(key);
    }

    // Opens the key for writing, made where it is missing; once a object.
    DWORD Create(HKEY parent, const WCHAR* path) {
        return static_cast<DWORD>(RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                                  KEY_WRITE, nullptr, &key, nullptr));
    }

    // The same for a key that is there.
    DWORD Open(HKEY parent, const WCHAR* path) {
        return static_cast<DWORD>(RegOpenKeyExW(parent, path, 0, KEY_WRITE, &key));
    }

    DWORD SetNumber(const WCHAR* name, DWORD number) const {
        return Set(name, REG_DWORD, &number, sizeof(number));
    }

    // With its terminator.
    DWORD SetText(const WCHAR* name, const std::basic_string<WCHAR>& text) const {
        return Set(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
    }

    HKEY Get() const { return key; }

  private:
    DWORD Set(const WCHAR* name, DWORD type, const void* data, std::size_t size) const {
        return static_cast<DWORD>(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data),
                                                 static_cast<DWORD>(size)));
    }

    HKEY key = nullptr;
};

}  // namespace quorvel
