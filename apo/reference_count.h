// The count of a COM object's references.
#pragma once

#include <atomic>

#include "platform/windows_api.h"

namespace quorvel {

// Begins at 1, for its creator. Any thread.
class ReferenceCount {
  public:
    ULONG Add() { return count.fetch_add(1, std::memory_order_relaxed) + 1; }

    // The count that is left; what other threads did before they released is visible at 0.
    ULONG Release() { return count.fetch_sub(1, std::memory_order_acq_rel) - 1; }

  private:
    std::atomic<ULONG> count = 1;
};

}  // namespace quorvel
