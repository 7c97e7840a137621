// The modules that are loaded in the engine process of the present machine (machine.h).
#pragma once

#include "platform/portable/kernel/handles.h"
#include "platform/portable/kernel/threads.h"
#include "platform/portable/kernel/types.h"

struct ModuleAtBase;  // never defined: a module is its base address
using HMODULE = ModuleAtBase*;
using FARPROC = INT_PTR(WINAPI*)();

inline constexpr std::size_t MAX_PATH = 260;
inline constexpr std::size_t MAX_MODULE_NAME32 = 255;

// All calls: any thread.

// The module of that file name, compared without regard to the case of ASCII letters; of the
// process's own image when `name` is null. Null with ERROR_MOD_NOT_FOUND.
HMODULE GetModuleHandleW(LPCWSTR name);

// The exported function: of ntdll.dll the one below, unless the machine lacks it; of a library that
// was loaded (libraries.h) those that it has. Null with
// ERROR_PROC_NOT_FOUND, ERROR_MOD_NOT_FOUND.
FARPROC GetProcAddress(HMODULE loaded, LPCSTR name);

// Copies the path of a module's image (of the process's own for null) with its terminating zero and
// returns its length without that. When it does not fit it is cut off, `size` is returned and the
// error is ERROR_INSUFFICIENT_BUFFER. 0 with ERROR_MOD_NOT_FOUND.
DWORD GetModuleFileNameW(HMODULE loaded, LPWSTR path, DWORD size);

// --- The version of the system ---
struct RTL_OSVERSIONINFOEXW {
    ULONG dwOSVersionInfoSize;  // of this record, set by the caller
    ULONG dwMajorVersion;
    ULONG dwMinorVersion;
    ULONG dwBuildNumber;
    ULONG dwPlatformId;  // 2
    WCHAR szCSDVersion[128];
    WORD wServicePackMajor;
    WORD wServicePackMinor;
    WORD wSuiteMask;
    BYTE wProductType;
    BYTE wReserved;
};
static_assert(sizeof(RTL_OSVERSIONINFOEXW) == 284);

// What GetProcAddress finds as "RtlGetVersion": LONG(RTL_OSVERSIONINFOEXW*), 0 for success.

// --- Snapshots ---
inline constexpr DWORD TH32CS_SNAPMODULE = 8;

struct MODULEENTRY32W {
    DWORD dwSize;  // of this record, set by the caller
    DWORD th32ModuleID;
    DWORD th32ProcessID;
    DWORD GlblcntUsage;
    DWORD ProccntUsage;
    BYTE* modBaseAddr;  // in the engine process: not to be read through
    DWORD modBaseSize;
    HMODULE hModule;
    WCHAR szModule[MAX_MODULE_NAME32 + 1];
    WCHAR szExePath[MAX_PATH];
};
static_assert(sizeof(void*) != 4 || sizeof(MODULEENTRY32W) == 1064);

// The modules of this moment, to be closed with CloseHandle. INVALID_HANDLE_VALUE when it fails:
// ERROR_INVALID_PARAMETER for other flags or a process that is neither 0 nor the calling one,
// ERROR_NOT_ENOUGH_MEMORY.
HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId);

// The first and the following modules of a snapshot, which one thread at a time walks. Names too
// long are cut off. FALSE with ERROR_NO_MORE_FILES behind the last, ERROR_BAD_LENGTH for a record
// with another size field, ERROR_INVALID_HANDLE.
BOOL Module32FirstW(HANDLE snapshot, MODULEENTRY32W* entry);
BOOL Module32NextW(HANDLE snapshot, MODULEENTRY32W* entry);
