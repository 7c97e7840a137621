// What stands behind a device path: the interface that a driver in this process implements.
//
// Locks: the kernel lock (kernel_lock.h) is the innermost of the process and is never held while a
// device's code runs. So a device may hold its own locks while it calls a DeviceRequest or any
// portable Windows call; in turn Open, Control, Read and destructors of its files are called with
// no lock of this layer held, but with whatever locks the caller of CreateFileW, DeviceIoControl,
// ReadFile or CloseHandle holds. CancelIo, CancelIoEx and the cancelling part of CloseHandle call
// nothing here.
//
// No function of these interfaces may throw.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "platform/portable/kernel/types.h"

namespace quorvel::platform {

// One read or control request of a client. Whoever comes first, the device or a cancellation,
// decides its outcome, exactly once; the client's buffer is written only in that moment and only by
// Complete. A device that drops its reference without completing leaves the request pending until
// the client cancels it. Any thread may call.
class DeviceRequest {
  public:
    virtual ~DeviceRequest() = default;

    // Bytes that the client has room for.
    virtual DWORD Size() const = 0;

    // Ends the request with a Win32 code: 0, ERROR_MORE_DATA for a part, or a failure, which gives
    // the client nothing. Otherwise the first Size() bytes of `data` at most are copied to the
    // client, who is told `count` bytes: an honest device passes the number copied, and nothing
    // checks it. False when the request was over before; then nothing happens, and what `data`
    // holds is still undelivered.
    virtual bool Complete(DWORD error, std::span<const std::byte> data, DWORD count) = 0;

    // Whether the client cancelled it. A device that queues requests drops the cancelled ones
    // whenever it adds one, so that its queue stays as short as the list of requests really
    // pending.
    virtual bool IsCancelled() const = 0;

    // Completes with all of `data`; when it is longer than Size(), with what fits and
    // ERROR_MORE_DATA.
    bool CompleteWith(std::span<const std::byte> data) {
        const bool fits = data.size() <= Size();
        const DWORD count = fits ? static_cast<DWORD>(data.size()) : Size();
        return Complete(fits ? ERROR_SUCCESS : ERROR_MORE_DATA, data.first(count), count);
    }

    // Completes with a failure and no bytes.
    bool Fail(DWORD error) { return Complete(error, {}, 0); }
};

// The driver's end of one open handle. Calls may come from several threads at once. It is destroyed
// after its handle was closed, its pending requests cancelled and the last call into it has
// returned; by the thread that closed or that returned last.
class DeviceFile {
  public:
    virtual ~DeviceFile() = default;

    // Takes a control request: completes it now or later, from any thread. `in` is what the client
    // sent, to be read until this returns. The request may be cancelled already.
    virtual void Control(DWORD code, std::span<const std::byte> in,
                         std::shared_ptr<DeviceRequest> request) = 0;

    // Takes a read: completes it now or later, from any thread. It may be cancelled already.
    virtual void Read(std::shared_ptr<DeviceRequest> request) = 0;
};

// What is behind a path. Its files may outlive it and keep alive themselves what they need.
class Device {
  public:
    virtual ~Device() = default;

    // Opens the device for a process, with the GENERIC_ rights that it asked for. A Win32 code; 0
    // fills `file`.
    virtual DWORD Open(DWORD access, DWORD callerProcess, std::unique_ptr<DeviceFile>& file) = 0;
};

// Puts `device` behind `path`, in place of an earlier one. Paths are compared without regard to the
// case of ASCII letters. Throws std::bad_alloc and then changes nothing. Any thread.
void RegisterDevice(std::u16string path, std::shared_ptr<Device> device);

// Takes the device away: CreateFileW finds nothing there any more, open files live on until they
// are closed. Nothing happens when there is none. Throws std::bad_alloc. Any thread.
void UnregisterDevice(std::u16string path);

}  // namespace quorvel::platform
