// Regular files of Windows, over this system's own.
//
// A path is one of this system in UTF-16, with its separators; half a surrogate pair counts as
// U+FFFD. A handle to a regular file is closed with CloseHandle; it cannot be waited for.
//
// CreateFileW (device_files.h) opens regular files, and nothing else that lies in a file system:
//   OPEN_EXISTING  ERROR_FILE_NOT_FOUND when there is none
//   CREATE_NEW     ERROR_FILE_EXISTS when there is one
// Other failures: ERROR_PATH_NOT_FOUND (no such directory), ERROR_ACCESS_DENIED (no right, or no
// regular file), ERROR_TOO_MANY_OPEN_FILES, ERROR_INVALID_PARAMETER (another disposition),
// ERROR_NOT_SUPPORTED (FILE_FLAG_OVERLAPPED). `shareMode` is not enforced and attributes count for
// nothing: files are shared as this system shares them.
//
// ReadFile reads at the handle's position up to the end of the file, moves the position and sets
// `*read`, which must not be null, as `overlapped` must be (ERROR_INVALID_PARAMETER). At the end
// it succeeds with 0 bytes. It needs GENERIC_READ.
//
// Threads: any; calls on one handle share its position, so their owner serialises them. All of
// these block on the file system.
#pragma once

#include <cstdint>
#include <cstdio>

#include "platform/portable/files/device_files.h"

inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

struct LARGE_INTEGER {
    std::int64_t QuadPart;
};

// Writes all of `data` at the position of a regular file that was opened with GENERIC_WRITE, and
// moves the position. `written` and `overlapped` as for ReadFile. FALSE with ERROR_DISK_FULL,
// ERROR_INVALID_HANDLE (a device file's handle too), ERROR_ACCESS_DENIED, ERROR_NOACCESS (null data
// of a size), ERROR_GEN_FAILURE; `*written` then tells how much was written.
BOOL WriteFile(HANDLE file, const void* data, DWORD size, DWORD* written, OVERLAPPED* overlapped);

// Moves the position of a regular file by `distance` bytes from its start, from where it is or from
// its end. It may lie past the end. `position`, unless null, gets the new one. FALSE with
// ERROR_NEGATIVE_SEEK, ERROR_INVALID_HANDLE, or ERROR_INVALID_PARAMETER (another `method`).
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method);

// Deletes the file at `path`. FALSE with ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND or
// ERROR_ACCESS_DENIED (a directory too). A file that is still open lives on until it is closed.
BOOL DeleteFileW(const WCHAR* path);

// The C runtime's fopen with a WCHAR path and an ASCII `mode`; "t", text, changes nothing here.
// Null when it fails.
std::FILE* _wfopen(const WCHAR* path, const WCHAR* mode);
