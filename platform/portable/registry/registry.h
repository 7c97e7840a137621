// The registry, kept in the memory of this process: the calls of Windows that this system uses,
// with their meaning there. Any thread may call; names are compared without regard to the case of
// ASCII letters. Out of memory is ERROR_NOT_ENOUGH_MEMORY.
#pragma once

#include "platform/portable/kernel/types.h"

struct RegistryHandle;  // never defined
using HKEY = RegistryHandle*;
using PHKEY = HKEY*;
using REGSAM = DWORD;
using LSTATUS = LONG;

inline const HKEY HKEY_CLASSES_ROOT =
    reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000000u));  // always open

inline constexpr REGSAM KEY_QUERY_VALUE = 0x1;
inline constexpr REGSAM KEY_SET_VALUE = 0x2;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x4;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;

inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;

inline constexpr LSTATUS ERROR_KEY_DELETED = 1018;

// Opens the key of that path (names between backslashes) below `parent`, made where it is missing.
// `classText` and `security` must be null. ERROR_INVALID_HANDLE, ERROR_KEY_DELETED.
LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR path, DWORD reserved, LPWSTR classText, DWORD options,
                        REGSAM access, const void* security, HKEY* key, DWORD* disposition);

// The same, but ERROR_FILE_NOT_FOUND where a key is missing.
LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, REGSAM access, HKEY* key);

// A null or empty name is the key's default value. ERROR_ACCESS_DENIED without KEY_SET_VALUE.
LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD size);

// Gives type, bytes and size as far as they are asked for; `*size` is the room at `data` before.
// ERROR_MORE_DATA when that is too small, ERROR_FILE_NOT_FOUND.
LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* size);

// Deletes a key without keys below it, however it is opened elsewhere. ERROR_FILE_NOT_FOUND,
// ERROR_ACCESS_DENIED when there are keys below it.
LSTATUS RegDeleteKeyExW(HKEY parent, LPCWSTR path, REGSAM view, DWORD reserved);

// Deletes a key and everything below it.
LSTATUS RegDeleteTreeW(HKEY parent, LPCWSTR path);

LSTATUS RegCloseKey(HKEY key);
