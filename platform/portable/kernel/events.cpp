#include "platform/portable/kernel/events.h"

#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/portable/kernel/event_object.h"
#include "platform/portable/kernel/failures.h"
#include "platform/portable/kernel/handle_table.h"

namespace quorvel::platform {
namespace {

// The events that have a name and a handle.
using EventNames = std::map<std::u16string, std::weak_ptr<Event>>;

EventNames& Names(KernelLock&) {
    static EventNames& names = *new EventNames;
    return names;
}

// `name` with its namespace before it; nothing when the name has a backslash of its own.
std::optional<std::u16string> WithNamespace(std::u16string_view name) {
    std::u16string_view space = u"Local\\";
    for (const std::u16string_view prefix : {u"Local\\", u"Global\\"}) {
        if (!name.starts_with(prefix)) continue;
        space = prefix;
        name.remove_prefix(prefix.size());
        break;
    }
    if (name.find(u'\\') != name.npos) return std::nullopt;
    return std::u16string(space).append(name);
}

std::shared_ptr<Event> FindNamed(KernelLock& lock, const std::u16string& name) {
    const auto found = Names(lock).find(name);
    return found == Names(lock).end() ? nullptr : found->second.lock();
}

HANDLE CreateOrOpen(const std::u16string& name, Waitable::ResetMode mode, bool signalled) {
    KernelLock lock;
    HandleTable& handles = HandleTable::Get(lock);
    if (auto existing = FindNamed(lock, name)) {
        const HANDLE handle = handles.Insert(lock, std::move(existing), EVENT_ALL_ACCESS);
        SetLastError(ERROR_ALREADY_EXISTS);
        return handle;
    }
    auto event = std::make_shared<Event>(mode, signalled, name);
    const HANDLE handle = handles.Insert(lock, event, EVENT_ALL_ACCESS);
    try {
        if (!name.empty()) Names(lock).insert_or_assign(name, event);
    } catch (const std::bad_alloc&) {
        handles.Remove(lock, handle);
        throw;
    }
    SetLastError(ERROR_SUCCESS);
    return handle;
}

template <typename Change>
BOOL ChangeEvent(HANDLE handle, Change change) {
    KernelLock lock;
    const auto event = HandleTable::Get(lock).Find<Event>(lock, handle, EVENT_MODIFY_STATE);
    if (!event) return FALSE;
    change(*event, lock);
    return TRUE;
}

}  // namespace

void Event::OnLastHandleClosed(KernelLock& lock) {
    Names(lock).erase(name);
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

HANDLE CreateEventW(SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initialState, const WCHAR* name) {
    return OrNotEnoughMemory(HANDLE{}, [&]() -> HANDLE {
        std::optional<std::u16string> fullName = u"";
        if (name && *name != 0) fullName = WithNamespace(name);
        if (!fullName) return FailWith(ERROR_PATH_NOT_FOUND, nullptr);
        return CreateOrOpen(*fullName,
                            manualReset ? Waitable::ResetMode::kManual : Waitable::ResetMode::kAuto,
                            initialState != FALSE);
    });
}

HANDLE OpenEventW(DWORD access, BOOL, const WCHAR* name) {
    if (!name || *name == 0) return FailWith(ERROR_INVALID_PARAMETER, nullptr);
    return OrNotEnoughMemory(HANDLE{}, [&]() -> HANDLE {
        const auto fullName = WithNamespace(name);
        if (!fullName) return FailWith(ERROR_PATH_NOT_FOUND, nullptr);
        KernelLock lock;
        auto event = FindNamed(lock, *fullName);
        if (!event) return FailWith(ERROR_FILE_NOT_FOUND, nullptr);
        return HandleTable::Get(lock).Insert(lock, std::move(event), access);
    });
}

BOOL SetEvent(HANDLE handle) {
    return ChangeEvent(handle, [](Event& event, KernelLock& lock) { event.Signal(lock); });
}

BOOL ResetEvent(HANDLE handle) {
    return ChangeEvent(handle, [](Event& event, KernelLock& lock) { event.Reset(lock); });
}
