// Scalar types, GUID and error codes of Windows, for systems that have none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using WCHAR = char16_t;
using BOOL = int;
using INT = int;
using UINT = unsigned int;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT32 = std::uint32_t;
using UINT64 = std::uint64_t;
using LONGLONG = std::int64_t;
using INT_PTR = std::intptr_t;
using UINT_PTR = std::uintptr_t;
using FLOAT = float;
using LPWSTR = WCHAR*;
using PWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using PCWSTR = const WCHAR*;
using SIZE_T = std::size_t;
using ULONG_PTR = std::uintptr_t;
using HANDLE = void*;
using LPVOID = void*;
using PVOID = void*;
using LPCVOID = const void*;
using LPCSTR = const char*;
using DWORD64 = std::uint64_t;
using ULONG64 = std::uint64_t;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

// 16 bytes; the first three fields are little-endian integers.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16);

using IID = GUID;
using CLSID = GUID;
using LPGUID = GUID*;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
inline constexpr GUID GUID_NULL = {};

inline bool operator==(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_DATA = 13;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_BAD_LENGTH = 24;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_ENVVAR_NOT_FOUND = 203;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_PARTIAL_COPY = 299;
inline constexpr DWORD ERROR_INVALID_ADDRESS = 487;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_IO_INCOMPLETE = 996;
inline constexpr DWORD ERROR_IO_PENDING = 997;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_NOT_FOUND = 1168;
inline constexpr DWORD ERROR_UNKNOWN_REVISION = 1305;
inline constexpr DWORD ERROR_UNSUPPORTED_TYPE = 1630;
inline constexpr DWORD ERROR_INVALID_USER_BUFFER = 1784;
inline constexpr DWORD ERROR_INVALID_STATE = 5023;
