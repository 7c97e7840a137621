#include "platform/portable/files/pending_requests.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/portable/kernel/threads.h"

namespace quorvel::platform {
namespace {

using Requests = std::vector<std::shared_ptr<PendingRequest>>;

Requests& Pending(KernelLock&) {
    static Requests& requests = *new Requests;
    return requests;
}

// A thread's requests end with it.
struct CancelAtEndOfThread {
    ~CancelAtEndOfThread() {
        KernelLock lock;
        PendingRequest::Cancel(lock, {nullptr, GetCurrentThreadId()});
    }
};

struct StatusOfError {
    DWORD error = 0;
    ULONG_PTR status = 0;
};

constexpr std::array kStatuses = {
    StatusOfError{ERROR_SUCCESS, 0}, StatusOfError{ERROR_IO_PENDING, STATUS_PENDING},
    StatusOfError{ERROR_MORE_DATA, 0x80000005},         // STATUS_BUFFER_OVERFLOW
    StatusOfError{ERROR_OPERATION_ABORTED, 0xC0000120}  // STATUS_CANCELLED
};

// The facility of statuses that carry a Win32 code in their low half.
constexpr ULONG_PTR kWin32Facility = 0xC0070000;

// Whether the client receives bytes and their count.
bool IsAnswer(DWORD error) {
    return error == ERROR_SUCCESS || error == ERROR_MORE_DATA;
}

}  // namespace

void PendingRequest::Begin(KernelLock& lock, std::shared_ptr<PendingRequest> request) {
    thread_local const CancelAtEndOfThread cancelAtEnd;
    static_cast<void>(cancelAtEnd);
    const Target& target = request->target;
    Pending(lock).push_back(std::move(request));
    if (target.signal) target.signal->Reset(lock);
    if (!target.overlapped) return;
    target.overlapped->Internal = STATUS_PENDING;
    target.overlapped->InternalHigh = 0;
}

bool PendingRequest::Cancel(KernelLock& lock, const RequestOwner& owner) {
    Requests& requests = Pending(lock);
    const auto kept = std::partition(
        requests.begin(), requests.end(),
        [&](const std::shared_ptr<PendingRequest>& request) { return !request->IsOf(owner); });
    const bool hasSome = kept != requests.end();
    for (auto request = kept; request != requests.end(); ++request)
        (*request)->End(lock, {ERROR_OPERATION_ABORTED, 0});
    requests.erase(kept, requests.end());
    return hasSome;
}

bool PendingRequest::Complete(DWORD error, std::span<const std::byte> data, DWORD count) {
    KernelLock lock;
    if (outcome) return false;
    const std::size_t copied = IsAnswer(error) ? std::min(data.size(), target.buffer.size()) : 0;
    std::copy_n(data.begin(), copied, target.buffer.begin());
    End(lock, {error, IsAnswer(error) ? count : 0});
    std::erase_if(Pending(lock), [this](const auto& request) { return request.get() == this; });
    return true;
}

bool PendingRequest::IsCancelled() const {
    KernelLock lock;
    return outcome && outcome->error == ERROR_OPERATION_ABORTED;
}

bool PendingRequest::IsOf(const RequestOwner& owner) const {
    return (!owner.file || owner.file == target.owner.file) &&
           (owner.thread == 0 || owner.thread == target.owner.thread) &&
           (!owner.overlapped || owner.overlapped == target.owner.overlapped);
}

void PendingRequest::End(KernelLock& lock, const RequestOutcome& how) {
    outcome = how;
    if (target.overlapped) {
        target.overlapped->Internal = StatusFromError(how.error);
        target.overlapped->InternalHigh = how.count;
    }
    if (target.signal) target.signal->Signal(lock);
    target.signal.reset();
    over.Signal(lock);
}

ULONG_PTR StatusFromError(DWORD error) {
    for (const StatusOfError& known : kStatuses)
        if (known.error == error) return known.status;
    return kWin32Facility | (error & 0xFFFF);
}

DWORD ErrorFromStatus(ULONG_PTR status) {
    for (const StatusOfError& known : kStatuses)
        if (known.status == status) return known.error;
    return static_cast<DWORD>(status & 0xFFFF);
}

}  // namespace quorvel::platform
