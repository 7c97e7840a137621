// Call stacks, symbols and modules, as the debug-help library of Windows tells them. Stacks and
// modules are those of the engine process of the present machine (machine.h), a 32-bit x86 process:
// its addresses and words have 4 bytes, and each frame begins with the saved frame pointer, the
// return address and the parameters. So the records are those of 32-bit processes on every system.
#pragma once

#include "platform/portable/kernel/handles.h"
#include "platform/portable/kernel/threads.h"
#include "platform/portable/kernel/types.h"

inline constexpr DWORD IMAGE_FILE_MACHINE_I386 = 0x14C;

// --- Records ---
enum ADDRESS_MODE { AddrMode1616, AddrMode1632, AddrModeReal, AddrModeFlat };

struct ADDRESS64 {
    DWORD64 Offset;
    WORD Segment;
    ADDRESS_MODE Mode;
};

struct KDHELP64 {
    DWORD64 Reserved[14];  // of no use outside the kernel
};

struct STACKFRAME64 {
    ADDRESS64 AddrPC;
    ADDRESS64 AddrReturn;
    ADDRESS64 AddrFrame;
    ADDRESS64 AddrStack;
    ADDRESS64 AddrBStore;
    alignas(8) PVOID FuncTableEntry;
    alignas(8) DWORD64 Params[4];  // parameter words, zero-extended
    BOOL Far;
    BOOL Virtual;  // the walk has begun
    DWORD64 Reserved[3];
    KDHELP64 KdHelp;
};
static_assert(sizeof(STACKFRAME64) == 264);

// Registers of a 32-bit x86 thread.
struct CONTEXT {
    DWORD ContextFlags;
    DWORD DebugRegisters[6];
    BYTE FloatSave[112];
    DWORD SegGs;
    DWORD SegFs;
    DWORD SegEs;
    DWORD SegDs;
    DWORD Edi;
    DWORD Esi;
    DWORD Ebx;
    DWORD Edx;
    DWORD Ecx;
    DWORD Eax;
    DWORD Ebp;
    DWORD Eip;
    DWORD SegCs;
    DWORD EFlags;
    DWORD Esp;
    DWORD SegSs;
    BYTE ExtendedRegisters[512];
};
static_assert(sizeof(CONTEXT) == 716);

struct SYMBOL_INFOW {
    ULONG SizeOfStruct;  // of this record, set by the caller
    ULONG TypeIndex;
    ULONG64 Reserved[2];
    ULONG Index;
    ULONG Size;
    ULONG64 ModBase;
    ULONG Flags;
    ULONG64 Value;
    ULONG64 Address;
    ULONG Register;
    ULONG Scope;
    ULONG Tag;
    ULONG NameLen;
    ULONG MaxNameLen;  // units of room for the name, set by the caller
    WCHAR Name[1];     // goes on beyond the record
};
static_assert(sizeof(SYMBOL_INFOW) == 88);

struct IMAGEHLP_MODULEW64 {
    DWORD SizeOfStruct;  // of this record, set by the caller
    DWORD64 BaseOfImage;
    DWORD ImageSize;
    DWORD TimeDateStamp;
    DWORD CheckSum;
    DWORD NumSyms;
    DWORD SymType;
    WCHAR ModuleName[32];  // without directory and extension
    WCHAR ImageName[256];
    WCHAR LoadedImageName[256];  // the path
    BYTE DebugInformation[2128];
};
static_assert(sizeof(IMAGEHLP_MODULEW64) == 3256);

// --- The debug-help session of a process ---
// One thread at a time makes these calls. `process` is GetCurrentProcess() and its session must
// have begun, else ERROR_INVALID_HANDLE.

inline constexpr DWORD SYMOPT_FAIL_CRITICAL_ERRORS = 0x200;

// Begins the session. ERROR_INVALID_FUNCTION when it has begun already. The process's modules are
// not loaded on their own: `invadeProcess` must be FALSE (ERROR_NOT_SUPPORTED).
BOOL SymInitializeW(HANDLE process, LPCWSTR searchPath, BOOL invadeProcess);

// Ends the session; its modules are forgotten.
BOOL SymCleanup(HANDLE process);

// Options of all sessions; they outlast them.
DWORD SymGetOptions();
DWORD SymSetOptions(DWORD options);

// ERROR_INSUFFICIENT_BUFFER when `size` units are too few for the path and its zero.
BOOL SymGetSearchPathW(HANDLE process, LPWSTR path, DWORD size);

// Makes the symbols of a module known; its base address, or 0: ERROR_MOD_NOT_FOUND when the process
// has no module at `base`. A module loaded before gives 0 with ERROR_SUCCESS. `file`, `data` and
// `flags` must be null and 0 (ERROR_NOT_SUPPORTED).
DWORD64 SymLoadModuleExW(HANDLE process, HANDLE file, LPCWSTR imageName, LPCWSTR moduleName,
                         DWORD64 base, DWORD size, PVOID data, DWORD flags);

// The loaded module around an address. ERROR_INVALID_PARAMETER for a wrong size field,
// ERROR_MOD_NOT_FOUND; texts too long are cut off.
BOOL SymGetModuleInfoW64(HANDLE process, DWORD64 address, IMAGEHLP_MODULEW64* information);

// Its base; 0 when there is none.
DWORD64 SymGetModuleBase64(HANDLE process, DWORD64 address);

// The last symbol of the loaded module at or before an address. ERROR_INVALID_PARAMETER for a wrong
// size field, ERROR_MOD_NOT_FOUND, ERROR_INVALID_ADDRESS (no symbol); a name too long is cut off.
BOOL SymFromAddrW(HANDLE process, DWORD64 address, DWORD64* displacement, SYMBOL_INFOW* symbol);

// Unwinding data; 32-bit x86 has none: null.
PVOID SymFunctionTableAccess64(HANDLE process, DWORD64 address);

// The plain form of a symbol's name and its length, 0 when it fails. The machine's symbols have
// plain names, which are copied, as far as they fit.
DWORD UnDecorateSymbolNameW(LPCWSTR decorated, LPWSTR plain, DWORD size, DWORD flags);

// --- Stacks ---
// The machine's call stack as registers: where its innermost frame is.
void RtlCaptureContext(CONTEXT* context);

using ReadMemoryRoutine64 = BOOL(WINAPI*)(HANDLE, DWORD64, PVOID, DWORD, DWORD*);
using FunctionTableRoutine64 = PVOID(WINAPI*)(HANDLE, DWORD64);
using ModuleBaseRoutine64 = DWORD64(WINAPI*)(HANDLE, DWORD64);
using TranslateRoutine64 = DWORD64(WINAPI*)(HANDLE, HANDLE, ADDRESS64*);

// Takes a walk one frame outward; the first step completes the frame that `frame` was given:
// program counter, frame pointer and stack pointer, all flat. Return address and parameters are
// read from the machine's memory, and `context` follows. FALSE at the end: the machine is not i386,
// a routine to read with was given, the program counter is 0, the frame cannot be read or does not
// lie further out than the one before.
BOOL StackWalk64(DWORD machineType, HANDLE process, HANDLE thread, STACKFRAME64* frame,
                 PVOID context, ReadMemoryRoutine64 read, FunctionTableRoutine64 functionTable,
                 ModuleBaseRoutine64 moduleBase, TranslateRoutine64 translate);
