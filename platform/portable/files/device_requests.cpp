// Reads and control requests of device files: started, waited for, cancelled.
#include <memory>
#include <span>
#include <utility>

#include "platform/portable/files/device_files.h"
#include "platform/portable/files/open_file.h"
#include "platform/portable/files/regular_file.h"
#include "platform/portable/kernel/event_object.h"
#include "platform/portable/kernel/handle_table.h"
#include "platform/portable/kernel/threads.h"
#include "platform/portable/kernel/waits.h"

namespace quorvel::platform {
namespace {

using Request = std::shared_ptr<PendingRequest>;

// A request that has begun, and its file, kept alive for the call into the device.
struct Begun {
    std::shared_ptr<OpenFile> file;
    Request request;
};

// Enters a request of the calling thread. `signal` is told of its end.
Request Enter(KernelLock& lock, const OpenFile& file, std::span<std::byte> buffer,
              OVERLAPPED* overlapped, std::shared_ptr<Waitable> signal) {
    auto request = std::make_shared<PendingRequest>(PendingRequest::Target{
        {&file, GetCurrentThreadId(), overlapped}, buffer, overlapped, std::move(signal)});
    PendingRequest::Begin(lock, request);
    return request;
}

// The same with the event of `overlapped`. Null with the last error when it is refused.
Request EnterWithEvent(KernelLock& lock, const OpenFile& file, std::span<std::byte> buffer,
                       OVERLAPPED* overlapped) {
    auto event = HandleTable::Get(lock).Find<Event>(lock, overlapped->hEvent, EVENT_MODIFY_STATE);
    return event ? Enter(lock, file, buffer, overlapped, std::move(event)) : nullptr;
}

// What the call that started a request answers.
BOOL Report(KernelLock& lock, const PendingRequest& request, DWORD* count) {
    const auto outcome = request.Outcome(lock);
    if (count) *count = outcome ? outcome->count : 0;
    const DWORD error = outcome ? outcome->error : ERROR_IO_PENDING;
    return error == ERROR_SUCCESS ? TRUE : FailWith(error, FALSE);
}

// Waits as the system does for a request that brought no OVERLAPPED to an overlapped handle: for
// the file, which any request without an event signals.
BOOL ReportOnSignal(KernelLock& lock, const OpenFile& file, const PendingRequest& request,
                    const OVERLAPPED& overlapped, DWORD* count) {
    if (!request.Outcome(lock)) file.signal->Wait(lock);
    if (request.Outcome(lock)) return Report(lock, request, count);
    PendingRequest::Cancel(lock, {.overlapped = &overlapped});
    return TRUE;
}

// The status of a request that another thread may be ending.
ULONG_PTR StatusOf(const OVERLAPPED& overlapped) {
    KernelLock lock;
    return overlapped.Internal;
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

BOOL DeviceIoControl(HANDLE handle, DWORD code, LPVOID in, DWORD inSize, LPVOID out, DWORD outSize,
                     DWORD* returned, OVERLAPPED* overlapped) {
    OVERLAPPED own{};
    const Begun begun = OrNotEnoughMemory(Begun{}, [&]() -> Begun {
        KernelLock lock;
        auto file = HandleTable::Get(lock).Find<OpenFile>(lock, handle, RequiredAccess(code));
        if (!file) return {};
        if (!returned && !overlapped) return FailWith(ERROR_INVALID_PARAMETER, Begun{});
        if (returned) *returned = 0;
        if ((!in && inSize != 0) || (!out && outSize != 0))
            return FailWith(ERROR_NOACCESS, Begun{});
        const std::span answer(static_cast<std::byte*>(out), outSize);
        Request request = overlapped ? EnterWithEvent(lock, *file, answer, overlapped)
                                     : Enter(lock, *file, answer, &own, file->signal);
        return {std::move(file), std::move(request)};
    });
    if (!begun.request) return FALSE;
    begun.file->device->Control(code, {static_cast<const std::byte*>(in), inSize}, begun.request);

    KernelLock lock;
    if (!begun.file->overlapped)
        begun.request->Wait(lock);
    else if (!overlapped)
        return ReportOnSignal(lock, *begun.file, *begun.request, own, returned);
    return Report(lock, *begun.request, returned);
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD size, DWORD* count, OVERLAPPED* overlapped) {
    if (IsRegularFile(handle)) return ReadRegularFile(handle, buffer, size, count, overlapped);
    const Begun begun = OrNotEnoughMemory(Begun{}, [&]() -> Begun {
        KernelLock lock;
        auto file = HandleTable::Get(lock).Find<OpenFile>(lock, handle, FILE_READ_ACCESS);
        if (!file) return {};
        if (!file->overlapped) return FailWith(ERROR_NOT_SUPPORTED, Begun{});
        if (!overlapped) return FailWith(ERROR_INVALID_PARAMETER, Begun{});
        if (!buffer && size != 0) return FailWith(ERROR_NOACCESS, Begun{});
        const std::span room(static_cast<std::byte*>(buffer), size);
        Request request = EnterWithEvent(lock, *file, room, overlapped);
        return {std::move(file), std::move(request)};
    });
    if (!begun.request) return FALSE;
    begun.file->device->Read(begun.request);
    KernelLock lock;
    return Report(lock, *begun.request, count);
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
    PendingRequest::Cancel(lock, {file.get(), GetCurrentThreadId()});
    return TRUE;
}

BOOL CancelIoEx(HANDLE handle, OVERLAPPED* overlapped) {
    KernelLock lock;
    const auto file = HandleTable::Get(lock).Find<OpenFile>(lock, handle, 0);
    if (!file) return FALSE;
    const bool hadSome = PendingRequest::Cancel(lock, {file.get(), 0, overlapped});
    return hadSome ? TRUE : FailWith(ERROR_NOT_FOUND, FALSE);
}
