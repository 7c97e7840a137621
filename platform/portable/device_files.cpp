#include "platform/portable/device_files.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/portable/device_registry.h"
#include "platform/portable/handle_table.h"
#include "platform/portable/pending_reads.h"
#include "platform/portable/regular_file.h"
#include "platform/portable/threads.h"
#include "platform/portable/waits.h"

namespace quorvel::platform {
namespace {

// An open device file. Its handles carry FILE_..._ACCESS rights.
class OpenFile final : public KernelObject {
  public:
    OpenFile(std::unique_ptr<DeviceFile> deviceFile, bool isOverlapped)
        : device(std::move(deviceFile)), overlapped(isOverlapped) {}

    void OnLastHandleClosed(KernelLock& lock) override { PendingRead::Cancel(lock, {this, 0}); }

    const std::unique_ptr<DeviceFile> device;
    const bool overlapped;
};

DWORD FileAccess(DWORD genericAccess) {
    return (genericAccess & GENERIC_READ ? FILE_READ_ACCESS : 0) |
           (genericAccess & GENERIC_WRITE ? FILE_WRITE_ACCESS : 0);
}

// Whether only devices can be at `path`.
bool IsDevicePath(std::u16string_view path) {
    return path.starts_with(u"\\\\?\\") || path.starts_with(u"\\\\.\\");
}

// The file behind a handle, kept alive for a call into the device; null with the last error.
std::shared_ptr<OpenFile> FindFile(HANDLE handle, DWORD access) {
    KernelLock lock;
    return HandleTable::Get(lock).Find<OpenFile>(lock, handle, access);
}

HANDLE OpenDevice(Device& device, DWORD access, DWORD flags) {
    std::unique_ptr<DeviceFile> deviceFile;
    const DWORD error = device.Open(access, GetCurrentProcessId(), deviceFile);
    if (error != ERROR_SUCCESS) return FailWith(error, INVALID_HANDLE_VALUE);
    if (!deviceFile) return FailWith(ERROR_GEN_FAILURE, INVALID_HANDLE_VALUE);
    // `file` outlives the lock, as its end is the device's code.
    const auto file =
        std::make_shared<OpenFile>(std::move(deviceFile), (flags & FILE_FLAG_OVERLAPPED) != 0);
    KernelLock lock;
    return HandleTable::Get(lock).Insert(lock, file, FileAccess(access));
}

HANDLE OpenRegularFile(const WCHAR* path, DWORD access, DWORD disposition, DWORD flags) {
    if (flags & FILE_FLAG_OVERLAPPED) return FailWith(ERROR_NOT_SUPPORTED, INVALID_HANDLE_VALUE);
    std::shared_ptr<RegularFile> file;
    const DWORD error = RegularFile::Open(path, access, disposition, file);
    if (error != ERROR_SUCCESS) return FailWith(error, INVALID_HANDLE_VALUE);
    KernelLock lock;
    return HandleTable::Get(lock).Insert(lock, file, FileAccess(access));
}

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// A zeroed buffer for an answer. Large ones cost nothing until they are touched, since a client
// may ask for as much as a device told it to.
using AnswerBuffer = std::unique_ptr<std::byte, FreeDeleter>;

AnswerBuffer MakeAnswerBuffer(DWORD size) {
    return AnswerBuffer(static_cast<std::byte*>(std::calloc(std::max<DWORD>(size, 1), 1)));
}

bool IsAnswer(DWORD error) {
    return error == ERROR_SUCCESS || error == ERROR_MORE_DATA;
}

// Starts `read` under one lock, so that a close comes either before it or finds it. Null with the
// last error when a handle is refused.
std::shared_ptr<PendingRead> BeginRead(KernelLock& lock, const OpenFile& file,
                                       std::span<std::byte> buffer, OVERLAPPED* overlapped) {
    auto event = HandleTable::Get(lock).Find<Event>(lock, overlapped->hEvent, EVENT_MODIFY_STATE);
    if (!event) return nullptr;
    auto read = std::make_shared<PendingRead>(
        PendingRead::Target{{&file, GetCurrentThreadId()}, buffer, overlapped, std::move(event)});
    PendingRead::Begin(lock, read);
    return read;
}

// What ReadFile answers once the device has seen the read.
BOOL ReportRead(const PendingRead& read, DWORD* count) {
    KernelLock lock;
    const auto outcome = read.Outcome(lock);
    if (count) *count = outcome ? outcome->count : 0;
    const DWORD error = outcome ? outcome->error : ERROR_IO_PENDING;
    return error == ERROR_SUCCESS ? TRUE : FailWith(error, FALSE);
}

// The status of a read that another thread may be ending.
ULONG_PTR StatusOf(const OVERLAPPED& overlapped) {
    KernelLock lock;
    return overlapped.Internal;
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition,
                   DWORD flags, HANDLE) {
    if (!path || *path == 0) return FailWith(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
    return OrNotEnoughMemory(INVALID_HANDLE_VALUE, [&] {
        const std::shared_ptr<Device> device = FindDevice(path);
        if (!device && !IsDevicePath(path))
            return OpenRegularFile(path, access, disposition, flags);
        if (disposition != OPEN_EXISTING)
            return FailWith(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
        if (!device) return FailWith(ERROR_FILE_NOT_FOUND, INVALID_HANDLE_VALUE);
        return OpenDevice(*device, access, flags);
    });
}

BOOL DeviceIoControl(HANDLE handle, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                     DWORD* returned, OVERLAPPED* overlapped) {
    const auto file = FindFile(handle, RequiredAccess(code));
    if (!file) return FALSE;
    if (overlapped) return FailWith(ERROR_NOT_SUPPORTED, FALSE);
    if (!returned) return FailWith(ERROR_INVALID_PARAMETER, FALSE);
    *returned = 0;
    if ((!in && inSize != 0) || (!out && outSize != 0)) return FailWith(ERROR_NOACCESS, FALSE);
    const AnswerBuffer answer = MakeAnswerBuffer(outSize);
    if (!answer) return FailWith(ERROR_NOT_ENOUGH_MEMORY, FALSE);

    DWORD count = 0;
    const DWORD error = file->device->Control(code, {static_cast<const std::byte*>(in), inSize},
                                              {answer.get(), outSize}, count);
    if (IsAnswer(error)) {
        std::copy_n(answer.get(), std::min(count, outSize), static_cast<std::byte*>(out));
        *returned = count;
    }
    return error == ERROR_SUCCESS ? TRUE : FailWith(error, FALSE);
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, DWORD* count, OVERLAPPED* overlapped) {
    if (IsRegularFile(handle)) return ReadRegularFile(handle, buffer, size, count, overlapped);
    std::shared_ptr<OpenFile> file;
    const auto read = OrNotEnoughMemory(std::shared_ptr<PendingRead>{}, [&] {
        const std::shared_ptr<PendingRead> refused;
        KernelLock lock;
        file = HandleTable::Get(lock).Find<OpenFile>(lock, handle, FILE_READ_ACCESS);
        if (!file) return refused;
        if (!file->overlapped) return FailWith(ERROR_NOT_SUPPORTED, refused);
        if (!overlapped) return FailWith(ERROR_INVALID_PARAMETER, refused);
        if (!buffer && size != 0) return FailWith(ERROR_NOACCESS, refused);
        return BeginRead(lock, *file, {static_cast<std::byte*>(buffer), size}, overlapped);
    });
    if (!read) return FALSE;
    file->device->Read(read);
    return ReportRead(*read, count);
}

BOOL GetOverlappedResult(HANDLE, OVERLAPPED* overlapped, DWORD* bytes, BOOL wait) {
    if (StatusOf(*overlapped) == STATUS_PENDING) {
        if (!wait) return FailWith(ERROR_IO_INCOMPLETE, FALSE);
        if (WaitForSingleObject(overlapped->hEvent, INFINITE) == WAIT_FAILED) return FALSE;
    }
    KernelLock lock;
    const DWORD error = ErrorFromStatus(overlapped->Internal);
    if (error == ERROR_IO_PENDING) return FailWith(ERROR_IO_INCOMPLETE, FALSE);
    *bytes = static_cast<DWORD>(overlapped->InternalHigh);
    return error == ERROR_SUCCESS ? TRUE : FailWith(error, FALSE);
}

BOOL CancelIo(HANDLE handle) {
    KernelLock lock;
    const auto file = HandleTable::Get(lock).Find<OpenFile>(lock, handle, 0);
    if (!file) return FALSE;
    PendingRead::Cancel(lock, {file.get(), GetCurrentThreadId()});
    return TRUE;
}
