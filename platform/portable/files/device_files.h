// Device files of Windows, over the devices that this process registered (device.h), and the calls
// that they have in common with regular files (files.h).
#pragma once

#include "platform/portable/files/control_codes.h"
#include "platform/portable/kernel/events.h"

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000;

inline constexpr DWORD STATUS_PENDING = 0x103;

// One request under way, owned by the client; it must stay where it is until the request is over.
// Zero all but `hEvent` before the first use.
struct OVERLAPPED {
    // Status of the request: STATUS_PENDING while it is under way, then 0, 0x80000005 for a partial
    // answer, 0xC0000120 when cancelled, else 0xC0070000 | the Win32 code's low 16 bits.
    ULONG_PTR Internal;
    ULONG_PTR InternalHigh;  // bytes delivered, once the request is over
    DWORD Offset;            // not used by devices
    DWORD OffsetHigh;
    HANDLE hEvent;  // reset when a request starts, signalled when it is over
};

// All calls: any thread. A handle that is not an open device file's fails with
// ERROR_INVALID_HANDLE; a null buffer of a size other than 0 with ERROR_NOACCESS; a handle without
// the right for the call with ERROR_ACCESS_DENIED. Device files cannot be waited for.

// Opens the device at `path`, with GENERIC_READ and GENERIC_WRITE as asked. How the device is
// shared is the device's own decision; `shareMode`, `security` and `templateFile` count for
// nothing. INVALID_HANDLE_VALUE when it fails: ERROR_FILE_NOT_FOUND (no such device),
// ERROR_PATH_NOT_FOUND (null or empty path), ERROR_INVALID_PARAMETER (`disposition` is not
// OPEN_EXISTING), ERROR_NOT_ENOUGH_MEMORY, or the device's own refusal.
//
// Where no device is registered, a path that starts neither with "\\?\" nor with "\\.\" names a
// regular file: files.h tells what then holds.
HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE templateFile);

// Sends a control request. The access bits of `code` are checked against the handle's rights. The
// answer is buffered: `out` may be `in`, and is written only when the device answers in full (TRUE)
// or in part (FALSE, ERROR_MORE_DATA), with `*returned` the number of bytes; another failure sets
// `*returned` to 0.
//   handle not opened with FILE_FLAG_OVERLAPPED: returns when the request is over.
//   overlapped handle, with an OVERLAPPED: as ReadFile, with the same demands on its event. When
//     the request pends, `in` is the client's again and `out` the device's.
//   overlapped handle without one: waits until a request on this file that brought no OVERLAPPED
//     either is over. When that was another one, the call returns TRUE with no bytes and its own
//     answer is lost. So only one such call may be under way at a time.
// `returned` must not be null without an OVERLAPPED (ERROR_INVALID_PARAMETER).
BOOL DeviceIoControl(HANDLE file, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                     DWORD* returned, OVERLAPPED* overlapped);

// Starts a read of at most `size` bytes on a handle opened with FILE_FLAG_OVERLAPPED (else
// ERROR_NOT_SUPPORTED) and GENERIC_READ. `overlapped` is required (ERROR_INVALID_PARAMETER), with
// an event that may be modified (ERROR_INVALID_HANDLE, ERROR_ACCESS_DENIED). These failures leave
// the OVERLAPPED and the event as they were. Otherwise the event is reset and the read
//   completes at once  TRUE, the event is signalled, `*read` and InternalHigh are the count;
//   fails at once      FALSE with the device's error, the event is signalled;
//   pends              FALSE with ERROR_IO_PENDING, `*read` is 0.
// A read of a regular file is another matter, see files.h.
// A pending request ends when the device completes it, or cancelled with ERROR_OPERATION_ABORTED:
// by CancelIo or CancelIoEx, by closing the file's last handle, or at the end of the thread that
// started it. After that the buffer and the OVERLAPPED are the client's again. `read` may be null.
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, DWORD* read, OVERLAPPED* overlapped);

// The outcome of the request of `overlapped`: TRUE, or FALSE with its error; `*bytes` is the count
// either way. While it is under way: waits for its event if `wait`, else FALSE with
// ERROR_IO_INCOMPLETE, as also when the event was signalled by somebody else. `file` is looked at
// only when there is a wait without an event, which fails with ERROR_INVALID_HANDLE.
BOOL GetOverlappedResult(HANDLE file, OVERLAPPED* overlapped, DWORD* bytes, BOOL wait);

// Cancels the pending requests that the calling thread started on `file`; when it returns they are
// over. Requests of other threads stay pending. TRUE, also when there was none.
BOOL CancelIo(HANDLE file);

// Cancels the pending request of `overlapped` on `file`, whichever thread started it; all of the
// file's for null. FALSE with ERROR_NOT_FOUND when there was none.
BOOL CancelIoEx(HANDLE file, OVERLAPPED* overlapped);
