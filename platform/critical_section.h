// A critical section with the lifetime of its owner.
#pragma once

#include "platform/windows_api.h"

namespace quorvel::platform {

// Works with std::lock_guard. The thread that holds it may take it again.
class CriticalSection {
  public:
    CriticalSection() { InitializeCriticalSection(&section); }
    ~CriticalSection() { DeleteCriticalSection(&section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() { EnterCriticalSection(&section); }
    void unlock() { LeaveCriticalSection(&section); }

  private:
    CRITICAL_SECTION section;
};

}  // namespace quorvel::platform
