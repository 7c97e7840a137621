#include "platform/portable/kernel/kernel_object.h"

namespace quorvel::platform {

void Waitable::Signal(KernelLock& lock) {
    signalled = true;
    for (WaitBlock* block = first; block; block = block->next) {
        Waiter& waiter = *block->waiter;
        if (waiter.satisfiedBy) continue;
        if (!TryTake(lock)) return;
        waiter.satisfiedBy = block->index;
        waiter.wake.notify_one();
    }
}

bool Waitable::TryTake(KernelLock&) {
    const bool taken = signalled;
    if (mode == ResetMode::kAuto) signalled = false;
    return taken;
}

void Waitable::Wait(KernelLock& lock) {
    if (TryTake(lock)) return;
    Waiter waiter;
    WaitBlock block{.waiter = &waiter};
    Enqueue(lock, block);
    waiter.wake.wait(lock.Native(), [&] { return waiter.satisfiedBy.has_value(); });
    Dequeue(lock, block);
}

void Waitable::Enqueue(KernelLock&, WaitBlock& block) {
    block.previous = last;
    block.next = nullptr;
    (last ? last->next : first) = &block;
    last = &block;
}

void Waitable::Dequeue(KernelLock&, WaitBlock& block) {
    (block.previous ? block.previous->next : first) = block.next;
    (block.next ? block.next->previous : last) = block.previous;
}

}  // namespace quorvel::platform
