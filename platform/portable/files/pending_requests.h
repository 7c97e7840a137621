// The reads and control requests that clients started and that are not over yet.
#pragma once

#include <memory>
#include <optional>

#include "platform/portable/files/device.h"
#include "platform/portable/files/device_files.h"
#include "platform/portable/kernel/kernel_object.h"

namespace quorvel::platform {

// Whose requests to cancel; what is not given counts for all.
struct RequestOwner {
    const KernelObject* file = nullptr;
    DWORD thread = 0;
    const OVERLAPPED* overlapped = nullptr;
};

// How a request ended.
struct RequestOutcome {
    DWORD error = ERROR_SUCCESS;
    DWORD count = 0;
};

// One request from its start to its end; its end is the only moment in which it touches the
// client's buffer and OVERLAPPED.
class PendingRequest final : public DeviceRequest {
  public:
    // The caller fills this in and calls Begin. `owner.overlapped` is the client's, or null.
    struct Target {
        RequestOwner owner;
        std::span<std::byte> buffer;
        OVERLAPPED* overlapped = nullptr;
        std::shared_ptr<Waitable> signal{};  // reset at the start, signalled at the end; or null
    };

    explicit PendingRequest(Target requestTarget) : target(std::move(requestTarget)) {}

    // Resets the signal and enters `request` into the list of pending requests. Throws
    // std::bad_alloc and then changes nothing. The thread's requests are cancelled when it ends.
    static void Begin(KernelLock&, std::shared_ptr<PendingRequest> request);

    // Cancels the requests of `owner`; whether there was one.
    static bool Cancel(KernelLock&, const RequestOwner& owner);

    DWORD Size() const override { return static_cast<DWORD>(target.buffer.size()); }
    bool Complete(DWORD error, std::span<const std::byte> data, DWORD count) override;
    bool IsCancelled() const override;

    // Waits until the request is over.
    void Wait(KernelLock& lock) { over.Wait(lock); }

    // Nothing while the request is pending.
    std::optional<RequestOutcome> Outcome(KernelLock&) const { return outcome; }

  private:
    bool IsOf(const RequestOwner& owner) const;
    void End(KernelLock&, const RequestOutcome& how);

    Target target;
    Waitable over{Waitable::ResetMode::kManual};
    std::optional<RequestOutcome> outcome;
};

// The status of OVERLAPPED::Internal for a Win32 code, and back.
ULONG_PTR StatusFromError(DWORD error);
DWORD ErrorFromStatus(ULONG_PTR status);

}  // namespace quorvel::platform
