#include "platform/portable/kernel/handles.h"

#include "platform/portable/kernel/handle_table.h"
#include "platform/portable/kernel/open_handle_count.h"

namespace {

thread_local constinit DWORD lastError = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}

BOOL CloseHandle(HANDLE handle) {
    using namespace quorvel::platform;
    // Destroyed after the lock is given up: the end of a device file runs the device's code.
    std::shared_ptr<KernelObject> object;
    KernelLock lock;
    object = HandleTable::Get(lock).Remove(lock, handle);
    return object != nullptr;
}

namespace quorvel::platform {

std::size_t OpenHandleCount() {
    KernelLock lock;
    return HandleTable::Get(lock).Count(lock);
}

}  // namespace quorvel::platform
