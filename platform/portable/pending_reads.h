// The reads that clients started and that are not over yet.
#pragma once

#include <memory>
#include <optional>

#include "platform/portable/device.h"
#include "platform/portable/device_files.h"
#include "platform/portable/event_object.h"

namespace quorvel::platform {

// Whose reads to cancel; what is not given counts for all.
struct ReadOwner {
    const KernelObject* file = nullptr;
    DWORD thread = 0;
};

// How a read ended.
struct ReadOutcome {
    DWORD error = ERROR_SUCCESS;
    DWORD count = 0;
};

// One read from its start to its end; its end is the only moment in which it touches the client's
// buffer and OVERLAPPED.
class PendingRead final : public ReadRequest {
  public:
    // The caller fills this in and calls Begin.
    struct Target {
        ReadOwner owner;
        std::span<std::byte> buffer;
        OVERLAPPED* overlapped = nullptr;
        std::shared_ptr<Event> event;
    };

    explicit PendingRead(Target readTarget) : target(std::move(readTarget)) {}

    // Resets the event and enters `read` into the list of pending reads. Throws std::bad_alloc and
    // then changes nothing. The thread's reads are cancelled when it ends.
    static void Begin(KernelLock&, std::shared_ptr<PendingRead> read);

    // Cancels the reads of `owner`.
    static void Cancel(KernelLock&, const ReadOwner& owner);

    DWORD Size() const override { return static_cast<DWORD>(target.buffer.size()); }
    bool Complete(DWORD error, std::span<const std::byte> data, DWORD count) override;
    bool IsCancelled() const override;

    // Nothing while the read is pending.
    std::optional<ReadOutcome> Outcome(KernelLock&) const { return outcome; }

  private:
    bool IsOf(const ReadOwner& owner) const;
    void End(KernelLock&, const ReadOutcome& how);

    Target target;
    std::optional<ReadOutcome> outcome;
};

// The status of OVERLAPPED::Internal for a Win32 code, and back.
ULONG_PTR StatusFromError(DWORD error);
DWORD ErrorFromStatus(ULONG_PTR status);

}  // namespace quorvel::platform
