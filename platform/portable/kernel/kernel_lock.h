// The one lock of the portable kernel objects.
#pragma once

#include <mutex>

namespace quorvel::platform {

// Holds the process-wide kernel lock for its lifetime. The lock guards every field of every kernel
// object, the handle table, the event names, the registered devices and the pending requests; a
// function that takes a KernelLock& touches them. It is the innermost lock of the process: whoever
// holds it takes no other and calls no device (device.h). Real-time threads stay away from it.
//
// The mutex is never destroyed, so threads that outlive the static objects stay safe.
class KernelLock {
  public:
    KernelLock() : lock(Mutex()) {}

    // For waiting on a condition variable, which gives the lock up meanwhile.
    std::unique_lock<std::mutex>& Native() { return lock; }

  private:
    static std::mutex& Mutex() {
        static std::mutex& mutex = *new std::mutex;
        return mutex;
    }

    std::unique_lock<std::mutex> lock;
};

}  // namespace quorvel::platform
