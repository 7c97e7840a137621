#include "platform/simulation/driver/read_queue.h"

#include <new>
#include <utility>

namespace quorvel::simulation {

void ReadQueue::Add(Read read) {
    {
        const std::lock_guard lock(mutex);
        std::erase_if(reads, [](const Read& queued) { return queued->IsCancelled(); });
        reads.push_back(std::move(read));
        wasRead = true;
        hasNews = true;  // not idle until this read has met what waits for it
    }
    Serve();
}

void ReadQueue::Serve() noexcept {
    std::unique_lock lock(mutex);
    hasNews = true;
    if (isServing) return;
    isServing = true;
    while (std::exchange(hasNews, false)) {
        while (const Read read = Front()) {
            lock.unlock();
            const bool isOver = Answered(*read);
            lock.lock();
            if (!isOver) break;
            std::erase(reads, read);
        }
    }
    isServing = false;
}

bool ReadQueue::IsIdle() {
    const std::lock_guard lock(mutex);
    return !wasRead || (!isServing && !hasNews && Front());
}

ReadQueue::Read ReadQueue::Front() {
    while (!reads.empty() && reads.front()->IsCancelled())
        reads.pop_front();
    return reads.empty() ? nullptr : reads.front();
}

bool ReadQueue::Answered(platform::DeviceRequest& read) {
    if (!held) Fetch(read.Size());
    if (!held || !core.SilenceHasEnded(held->silence)) return false;
    Deliver(read);
    return true;
}

void ReadQueue::Fetch(std::size_t capacity) {
    try {
        held = core.TakeEvents(client, capacity);
    } catch (const std::bad_alloc&) {
        held = StatusOnly(ERROR_NOT_ENOUGH_MEMORY);
    }
}

// A held answer was made for a read that may have had more room than this one.
void ReadQueue::Deliver(platform::DeviceRequest& read) {
    if (held->bytes.size() > read.Size()) {
        read.Fail(status::kInsufficientBuffer);
        return;
    }
    const auto count = static_cast<DWORD>(held->bytes.size());
    if (read.Complete(held->status, held->bytes, count)) held.reset();
}

}  // namespace quorvel::simulation
