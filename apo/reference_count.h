// The count of a COM object's references.
#pragma once

#include <atomic>

#include "platform/windows_api.h"

namespace quorvel {

// Begins at 1, for its creator. Any thread.
class ReferenceCount {
  public:
    ULONG Add() { return count.fetch_add(1, std::memory_order_relaxed) + 1; }

    // Before the object is torn down at 0: whoever takes and gives back references meanwhile, as
    // the system may when it is told to forget the object, does not tear it down a second time.
    void Close() { count.store(kClosed, std::memory_order_relaxed); }

    // The count that is left; what other threads did before they released is visible at 0.
    ULONG Release() { return count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

  private:
    static constexpr ULONG kClosed = 0x40000000;

    std::atomic<ULONG> count = 1;
};

}  // namespace quorvel
