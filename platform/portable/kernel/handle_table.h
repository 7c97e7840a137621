// The process-wide table from handle values to kernel objects.
#pragma once

#include <memory>
#include <unordered_map>

#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/kernel_object.h"

namespace quorvel::platform {

// Handle values are multiples of 4, never null, given in ascending order. On a 64-bit system a
// value is never given twice, so a stale handle is always refused; on a 32-bit one it could come
// back after 2^30 others.
class HandleTable {
  public:
    // The one table; it is never destroyed.
    static HandleTable& Get(KernelLock&);

    // A fresh handle to `object` with `access` rights. Throws std::bad_alloc and then changes
    // nothing.
    HANDLE Insert(KernelLock&, std::shared_ptr<KernelObject> object, DWORD access);

    // The object behind `handle`, when it is an `Object` and the handle has all rights of `access`.
    // Otherwise null, and the calling thread's last error is 6 (no such handle, or of another kind)
    // or 5 (a right is missing).
    template <typename Object>
    std::shared_ptr<Object> Find(KernelLock&, HANDLE handle, DWORD access) const;

    // Takes the handle out and returns its object, to be released without the lock; null and last
    // error 6 when there is no such handle.
    std::shared_ptr<KernelObject> Remove(KernelLock&, HANDLE handle);

    std::size_t Count(KernelLock&) const { return entries.size(); }

  private:
    struct Entry {
        std::shared_ptr<KernelObject> object;
        DWORD access = 0;
    };

    HANDLE FreshValue();

    std::unordered_map<HANDLE, Entry> entries;
    ULONG_PTR lastValue = 0;
};

template <typename Object>
std::shared_ptr<Object> HandleTable::Find(KernelLock&, HANDLE handle, DWORD access) const {
    const auto found = entries.find(handle);
    if (found == entries.end()) return FailWith(ERROR_INVALID_HANDLE, nullptr);
    auto object = std::dynamic_pointer_cast<Object>(found->second.object);
    if (!object) return FailWith(ERROR_INVALID_HANDLE, nullptr);
    if ((found->second.access & access) != access) return FailWith(ERROR_ACCESS_DENIED, nullptr);
    return object;
}

}  // namespace quorvel::platform
