#include "platform/portable/kernel/handle_table.h"

#include <utility>

namespace quorvel::platform {

HandleTable& HandleTable::Get(KernelLock&) {
    static HandleTable& table = *new HandleTable;
    return table;
}

HANDLE HandleTable::FreshValue() {
    HANDLE value;
    do {
        lastValue += 4;
        value = reinterpret_cast<HANDLE>(lastValue);
    } while (value == nullptr || entries.contains(value));
    return value;
}

HANDLE HandleTable::Insert(KernelLock&, std::shared_ptr<KernelObject> object, DWORD access) {
    const HANDLE handle = FreshValue();
    KernelObject& inserted = *object;
    entries.emplace(handle, Entry{std::move(object), access});
    ++inserted.handleCount;
    return handle;
}

std::shared_ptr<KernelObject> HandleTable::Remove(KernelLock& lock, HANDLE handle) {
    const auto found = entries.find(handle);
    if (found == entries.end()) return FailWith(ERROR_INVALID_HANDLE, nullptr);
    std::shared_ptr<KernelObject> object = std::move(found->second.object);
    entries.erase(found);
    if (--object->handleCount == 0) object->OnLastHandleClosed(lock);
    return object;
}

}  // namespace quorvel::platform
