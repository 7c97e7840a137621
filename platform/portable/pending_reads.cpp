#include "platform/portable/pending_reads.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/portable/threads.h"

namespace quorvel::platform {
namespace {

using Reads = std::vector<std::shared_ptr<PendingRead>>;

Reads& Pending(KernelLock&) {
    static Reads& reads = *new Reads;
    return reads;
}

// A thread's reads end with it.
struct CancelAtEndOfThread {
    ~CancelAtEndOfThread() {
        KernelLock lock;
        PendingRead::Cancel(lock, {nullptr, GetCurrentThreadId()});
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

}  // namespace

void PendingRead::Begin(KernelLock& lock, std::shared_ptr<PendingRead> read) {
    thread_local const CancelAtEndOfThread cancelAtEnd;
    static_cast<void>(cancelAtEnd);
    Target& target = read->target;
    Pending(lock).push_back(std::move(read));
    target.event->Reset(lock);
    target.overlapped->Internal = STATUS_PENDING;
    target.overlapped->InternalHigh = 0;
}

void PendingRead::Cancel(KernelLock& lock, const ReadOwner& owner) {
    Reads& reads = Pending(lock);
    const auto kept = std::partition(
        reads.begin(), reads.end(),
        [&](const std::shared_ptr<PendingRead>& read) { return !read->IsOf(owner); });
    for (auto read = kept; read != reads.end(); ++read)
        (*read)->End(lock, {ERROR_OPERATION_ABORTED, 0});
    reads.erase(kept, reads.end());
}

bool PendingRead::Complete(DWORD error, std::span<const std::byte> data, DWORD count) {
    KernelLock lock;
    if (outcome) return false;
    const std::size_t copied = std::min(data.size(), target.buffer.size());
    std::copy_n(data.begin(), copied, target.buffer.begin());
    End(lock, {error, count});
    std::erase_if(Pending(lock), [this](const auto& read) { return read.get() == this; });
    return true;
}

bool PendingRead::IsCancelled() const {
    KernelLock lock;
    return outcome && outcome->error == ERROR_OPERATION_ABORTED;
}

bool PendingRead::IsOf(const ReadOwner& owner) const {
    return (!owner.file || owner.file == target.owner.file) &&
           (owner.thread == 0 || owner.thread == target.owner.thread);
}

void PendingRead::End(KernelLock& lock, const ReadOutcome& how) {
    outcome = how;
    target.overlapped->Internal = StatusFromError(how.error);
    target.overlapped->InternalHigh = how.count;
    target.event->Signal(lock);
    target.event.reset();
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
