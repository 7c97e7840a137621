#include "platform/portable/kernel/waits.h"

#include <array>
#include <chrono>
#include <span>

#include "platform/portable/kernel/handle_table.h"

namespace quorvel::platform {
namespace {

using Clock = std::chrono::steady_clock;

// One wait of the calling thread: its objects, kept alive, and its place in their queues.
class Wait {
  public:
    explicit Wait(KernelLock& heldLock) : lock(heldLock) {}
    ~Wait() {
        for (DWORD i = 0; i < queued; ++i)
            objects[i]->Dequeue(lock, blocks[i]);
    }
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

    // False with the last error when a handle cannot be waited for.
    bool Resolve(std::span<const HANDLE> handles) {
        for (const HANDLE handle : handles) {
            objects[count] = HandleTable::Get(lock).Find<Waitable>(lock, handle, SYNCHRONIZE);
            if (!objects[count]) return false;
            ++count;
        }
        return true;
    }

    // Takes the signal of the first object that has one.
    bool TryTake() {
        for (DWORD i = 0; i < count && !waiter.satisfiedBy; ++i)
            if (objects[i]->TryTake(lock)) waiter.satisfiedBy = i;
        return waiter.satisfiedBy.has_value();
    }

    // Blocks until an object hands over its signal or the time is up.
    void Block(DWORD milliseconds) {
        const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
        for (; queued < count; ++queued) {
            blocks[queued] = {&waiter, queued, nullptr, nullptr};
            objects[queued]->Enqueue(lock, blocks[queued]);
        }
        const auto satisfied = [this] { return waiter.satisfiedBy.has_value(); };
        if (milliseconds == INFINITE)
            waiter.wake.wait(lock.Native(), satisfied);
        else
            waiter.wake.wait_until(lock.Native(), end, satisfied);
    }

    DWORD Result() const {
        return waiter.satisfiedBy ? WAIT_OBJECT_0 + *waiter.satisfiedBy : WAIT_TIMEOUT;
    }

  private:
    KernelLock& lock;
    Waiter waiter;
    DWORD count = 0;
    DWORD queued = 0;
    std::array<std::shared_ptr<Waitable>, MAXIMUM_WAIT_OBJECTS> objects;
    std::array<WaitBlock, MAXIMUM_WAIT_OBJECTS> blocks;
};

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    return WaitForMultipleObjects(1, &handle, FALSE, milliseconds);
}

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL waitAll, DWORD milliseconds) {
    if (count == 0 || count > MAXIMUM_WAIT_OBJECTS || !handles)
        return FailWith(ERROR_INVALID_PARAMETER, WAIT_FAILED);
    if (waitAll && count > 1) return FailWith(ERROR_NOT_SUPPORTED, WAIT_FAILED);
    KernelLock lock;
    Wait wait(lock);
    if (!wait.Resolve({handles, count})) return WAIT_FAILED;
    if (!wait.TryTake() && milliseconds != 0) wait.Block(milliseconds);
    return wait.Result();
}
