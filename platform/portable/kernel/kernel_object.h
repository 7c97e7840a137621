// What a handle can stand for, and what a thread can wait for.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <optional>

#include "platform/portable/kernel/kernel_lock.h"
#include "platform/portable/kernel/types.h"

namespace quorvel::platform {

// Base of everything behind a handle. Held by shared references: of the handle table, of waiting
// threads, of requests that shall signal it, of calls in flight. So a closed handle never takes an
// object from under someone.
class KernelObject {
  public:
    KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;
    virtual ~KernelObject() = default;

    // Called once, when no handle leads here any more.
    virtual void OnLastHandleClosed(KernelLock&) {}

  private:
    friend class HandleTable;
    std::uint32_t handleCount = 0;
};

// One thread blocked in a wait.
struct Waiter {
    std::condition_variable wake;
    std::optional<DWORD> satisfiedBy;  // index of the object whose signal ended the wait
};

// The place of a waiter in the queue of one object; owned by the waiting thread's stack.
struct WaitBlock {
    Waiter* waiter = nullptr;
    DWORD index = 0;  // of the object in the waiter's list
    WaitBlock* previous = nullptr;
    WaitBlock* next = nullptr;
};

// An object with a signal. A signal is handed to waiters at the moment it is given: those who wait
// then are released even if the object is reset before they run again. A manual-reset object
// releases all and stays signalled; an auto-reset one releases exactly one, the longest waiting, or
// stays signalled until somebody comes. Nothing here allocates.
class Waitable : public KernelObject {
  public:
    enum class ResetMode { kManual, kAuto };

    explicit Waitable(ResetMode resetMode, bool isSignalled = false)
        : mode(resetMode), signalled(isSignalled) {}

    void Signal(KernelLock&);
    void Reset(KernelLock&) { signalled = false; }

    // Whether the object was signalled; if so, the caller has taken the signal.
    bool TryTake(KernelLock&);

    // Waits until the object is signalled.
    void Wait(KernelLock&);

    // Puts `block` at the end of the queue, and takes it out again.
    void Enqueue(KernelLock&, WaitBlock& block);
    void Dequeue(KernelLock&, WaitBlock& block);

  private:
    const ResetMode mode;
    bool signalled;
    WaitBlock* first = nullptr;
    WaitBlock* last = nullptr;
};

}  // namespace quorvel::platform
