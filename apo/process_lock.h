// The lock that the real-time thread takes.
#pragma once

#include "platform/critical_section.h"

namespace quorvel {

// A critical section with a name of its own, by which the real-time sanitizer knows the only lock
// that it has to allow.
class ProcessLock {
  public:
    void lock() { section.lock(); }
    void unlock() { section.unlock(); }

  private:
    platform::CriticalSection section;
};

}  // namespace quorvel
